// The national table of IBGE municipality codes (RELATORIO_DTB_BRASIL_MUNICIPIO.csv),
// loaded once per run.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "absl/container/flat_hash_set.h"

namespace volp {

class Log;

inline constexpr const char* kMunicipiosFile = "RELATORIO_DTB_BRASIL_MUNICIPIO.csv";

class Municipios {
 public:
  // True when the seven-digit text is a code of the table.
  bool Contains(std::string_view code) const;
  size_t size() const { return codes_.size(); }
  void Add(uint32_t code) { codes_.insert(code); }
  void Clear() { codes_.clear(); }
  // The path the table was read from (for the CLI's "using ..." line).
  std::string source;

 private:
  absl::flat_hash_set<uint32_t> codes_;
};

// Reads "<dir>/RELATORIO_DTB_BRASIL_MUNICIPIO.csv" (dir empty = current
// directory). Logs E#C9101 / E#C9111 / E#C9112 / E#C9113 at level 0 and
// returns false when the table cannot be used.
bool LerCodigosMunicipioIBGE(const std::string& dir, Log& log, Municipios& out);

}  // namespace volp
