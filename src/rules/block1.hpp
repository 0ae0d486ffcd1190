// Block 1: 1001 (opening), 1100 (monthly summary per client), 1110 (daily
// total per device), 1115 (transaction), 1120 (destination of a transaction),
// 1200 (cancellation), 1220 (its destination), 1990 (closing), and the checks
// that close the groups.
//
// A block 1 is a tree: each 1100 carries the 1110 daily totals of one client
// and period, each 1110 the 1115 transactions of one device and day. The
// structure machine decides where a group ends and calls the closings and
// the resets below; the validators fill the slots and the running sums that
// those closings compare.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "absl/container/flat_hash_map.h"
#include "absl/container/flat_hash_set.h"
#include "core/record.hpp"
#include "rules/chunks.hpp"
#include "rules/fingerprint_index.hpp"
#include "rules/intern.hpp"
#include "rules/tag_set.hpp"

namespace volp {

struct Run;
struct ClientEntry;
struct DeviceEntry;

// Keys of a set that is emptied again and again (the 1110 set at every 1100,
// the 1115 set at every 1110). Unlike the arena, a reset rewinds to the first
// chunk and keeps every chunk for the next group, so a file of millions of
// groups allocates only as much as its largest group needs.
class KeyPool {
 public:
  std::string_view Copy(std::string_view s);
  void Reset();

 private:
  static constexpr size_t kChunk = 64 * 1024;
  std::vector<std::unique_ptr<char[]>> chunks_;  // each kChunk bytes
  std::vector<std::unique_ptr<char[]>> big_;     // keys larger than a chunk
  size_t next_ = 0;                              // chunk to use after the current one
  char* cur_ = nullptr;
  char* end_ = nullptr;
};

// A field of an earlier record, kept for a finding raised once that record's
// line is gone (the closing of a group points back at its 1100 or 1110). The
// text is short (a value, a quantity); std::string keeps it in place.
struct FieldCopy {
  std::string text;
  int32_t column = -1;
  int32_t length = 0;

  void Set(const Field& f) {
    text.assign(f.text.data(), f.text.size());
    column = f.column;
    length = f.length;
  }
  void Clear() {
    text.clear();
    column = -1;
    length = 0;
  }
  FieldRef Ref(const char* name) const { return FieldRef{name, column, text, length}; }
};

// The latest 1100: read by its group's closing, by the 1110 period check and
// by the 1110 and 1115 duplicate keys. The identifying texts are always those
// of the latest 1100. The figures are not: VALOR (with the line and position
// the closing points at) is stored only by a 1100 whose VALOR is filled, QTD
// only by one whose QTD is filled, so a 1100 without them leaves the figures
// of an earlier one in place.
struct Last1100 {
  bool present = false;
  int64_t line = 0;
  int64_t offset = 0;
  std::string cod_cliente;
  std::string ind_comex;
  std::string dt_ini;
  std::string dt_fin;
  bool cod_cliente_filled = false;
  bool ind_comex_filled = false;
  bool dt_ini_filled = false;
  bool dt_fin_filled = false;
  int64_t valor = 0;  // cents
  int64_t qtd = 0;
  FieldCopy valor_field;
  FieldCopy qtd_field;
};

// The latest 1110: read by its group's closing, by the 1115 checks and by
// the 1120 acquirer finding that is recorded at the 1110's line. Every 1110
// stores its VALOR; QTD only one whose QTD is filled.
struct Last1110 {
  bool present = false;
  int64_t line = 0;
  int64_t offset = 0;
  bool cod_mcapt_filled = false;
  bool dt_op_filled = false;
  bool cnpj_adqui_filled = false;
  bool in_distintos = false;            // its key went into the 1110 set
  const DeviceEntry* device = nullptr;  // its 0200, when registered
  int32_t tipo_tecn = 0;                // of that 0200; 0 when unknown
  int64_t valor = 0;                    // cents
  int64_t qtd = 0;
  FieldCopy valor_field;
  FieldCopy qtd_field;
  FieldCopy cnpj_adqui_field;
};

// Sums of the 1110 of the current 1100 (Contadores R1110) and of the 1115 of
// the current 1110 (Contadores R1115).
struct Contadores1110 {
  int64_t valor = 0;
  int64_t qtd = 0;
  int64_t registros = 0;  // 1110 with QTD filled
};
struct Contadores1115 {
  int64_t valor = 0;
  int64_t registros = 0;  // 1115 with the value filled
};

// Where a key was first seen.
struct FirstSeen {
  int64_t line = 0;
  int64_t offset = 0;
};
// The same in 12 bytes, for the sets that last the whole block: position and
// line in 48 bits each (files up to 256 TiB).
struct PackedPlace {
  uint32_t offset_low = 0;
  uint32_t line_low = 0;
  uint32_t high = 0;  // offset's bits 32-47, then line's bits 32-47

  static PackedPlace Of(int64_t line, int64_t offset) {
    const auto o = static_cast<uint64_t>(offset), l = static_cast<uint64_t>(line);
    return PackedPlace{static_cast<uint32_t>(o), static_cast<uint32_t>(l),
                       static_cast<uint32_t>((o >> 32 & 0xFFFF) | (l >> 32 & 0xFFFF) << 16)};
  }
  int64_t offset() const {
    return static_cast<int64_t>(uint64_t{high & 0xFFFF} << 32 | offset_low);
  }
  int64_t line() const { return static_cast<int64_t>(uint64_t{high >> 16} << 32 | line_low); }
};
static_assert(sizeof(PackedPlace) == 12);
struct FirstTransaction {
  int64_t line = 0;
  int64_t offset = 0;
  int32_t ind_split = -1;  // -1 when the first one had none
};

// Monthly totals of a client identified by CPF (the 1100 that are not
// extemporaneous), until they reach both minimums that justify declaring it.
// The CPF is the one stored behind the first such client's code in the
// registry, which lives as long as the run.
struct CpfTotals {
  const ClientEntry* client = nullptr;  // the first client with this CPF
  int64_t valor = 0;                    // cents
  int64_t qtd = 0;
  int32_t first = -1;  // chain of contributions, in file order
  int32_t last = -1;
  bool reached = false;
};
// A 1100 that went into a CPF's totals. The length of its COD_CLIENTE is
// the client's code's: the client was found by that very text.
struct CpfContribution {
  int64_t offset = 0;
  const ClientEntry* client = nullptr;  // whose COD_CLIENTE the finding shows
  uint64_t line : 48 = 0;
  uint64_t column : 16 = 0;  // of that 1100's COD_CLIENTE (at most 9,999)
  int32_t next = -1;
};
static_assert(sizeof(CpfContribution) == 32);

inline constexpr int64_t kCpfValorMinimo = 337500;  // R$ 3.375,00 in cents
inline constexpr int64_t kCpfQtdMinima = 30;

// (client, year * 100 + month). The client is its registry entry (null when
// the 1100's COD_CLIENTE is not registered); entries never move once block 0
// is over, so the pointer is as good as the code.
using ClientMonth = std::pair<const ClientEntry*, int32_t>;

struct Block1State {
  // The client of the last 1100, null when that 1100 named none that block 0
  // registered. A 1200 does not change it.
  ClientEntry* current_client = nullptr;

  Last1100 last_1100;
  Last1110 last_1110;
  Contadores1110 contadores_1110;
  Contadores1115 contadores_1115;

  // Block 1 saw a 1100 with IND_COMEX 0 / with IND_COMEX 1.
  bool comex0 = false;
  bool comex1 = false;

  // Duplicate sets, emptied where the structure machine says. Keys are the
  // record's texts joined by '|', which no field can hold, so two different
  // lists of texts never join to the same key.
  //
  // R1110: COD_CLIENTE and IND_COMEX of the last 1100, then COD_MCAPT, DT_OP
  // and CNPJ_ADQUI of the 1110.
  //
  // R1115: NSU, COD_AUT and ID_TRANSAC only. The full identity of a
  // transaction also holds the 1100 (COD_CLIENTE, IND_COMEX) and the 1110
  // (COD_MCAPT, DT_OP, CNPJ_ADQUI) above it, but the set is emptied at every
  // new 1110, and a 1110 always comes after its 1100, so during the set's
  // life those five texts never change: repeating them in every key would
  // only cost memory on the most frequent record of the file.
  //
  // R1100 and R1200 last the whole block: a year of 1100s from millions of
  // clients would not fit as texts, so they keep fingerprints and the first
  // record's place, and a matching fingerprint is confirmed by reading that
  // record's line again.
  FingerprintMap<PackedPlace> r1100;
  bool r1100_reserved = false;  // sized for the registered clients once
  KeyMap<FirstSeen> r1110;
  TagSet<FirstTransaction> r1115;  // keys kept inside, emptied at every 1110
  FingerprintMap<PackedPlace> r1200;
  KeyPool r1110_keys;
  KeyBuffer key;  // scratch where a key is built before the lookup

  // Number of 1110 per CNPJ_ADQUI.
  KeyMap<int64_t> adquirentes;
  // Texts kept for the whole run (acquirer CNPJs).
  Arena arena{64 * 1024};

  // CPF accumulator, by the CPF text (a view of the client's registry entry,
  // which lives as long as the run).
  FingerprintMap<CpfTotals> cpfs;
  Chunks<CpfContribution> cpf_contributions;

  // Finalidade 3: the months each client's 1100 covered, the missing ones
  // already reported, and per client that has a month the last month up to
  // which its missing months were already looked for.
  absl::flat_hash_map<ClientMonth, FirstSeen> meses;
  absl::flat_hash_set<ClientMonth> meses_reportados;
  absl::flat_hash_map<const ClientEntry*, int32_t> meses_clientes;
  std::vector<const ClientEntry*> meses_ordem;  // clients in the order they got a month

  // The device of the latest 1110 whose COD_MCAPT was looked up: the 1110 of
  // one device come one after another (a day each), so most lookups ask for
  // the code just asked for. The registry is complete before the first 1110
  // (a 0200 is taken only in block 0) and its entries stay where they are,
  // so the answer, found or not, holds for the rest of the run.
  struct UltimoMcapt {
    static constexpr size_t kMaxCode = 64;  // longer codes are not remembered
    char code[kMaxCode];
    size_t size = 0;
    bool known = false;  // code/device hold an answer
    DeviceEntry* device = nullptr;
  } ultimo_mcapt;
};

void ValidarRegistro_1001(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1100(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1110(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1115(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1120(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1200(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1220(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1990(Run& run, Record& rec, int prev_type, int src_line);

// Group closings, called by the structure machine where a group ends.
void VerificacaoRegistro_1110(Run& run, int src_line);
void VerificacaoRegistro_1100(Run& run, int src_line);
void VerificacaoRegistro_1100_TransacoesComCPF(Run& run, int src_line);

// The per-group sets and sums that the structure machine empties; each writes
// its "Zerando ..." trace line.
enum class Distintos { kR1100, kR1110, kR1115, kR1200 };
void ZerarDistintos(Run& run, Distintos which, int src_line);
void ZerarContadoresR1110(Run& run, int src_line);
void ZerarContadoresR1115(Run& run, int src_line);

// True when the last-1100 slot holds VALOR and QTD both 0 (a finalidade-3
// file may then go on without daily totals). The slot keeps the figures of
// the latest 1100 that had them filled.
bool Ultimo1100Zerado(const Run& run);

}  // namespace volp
