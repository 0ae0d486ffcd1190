// The registries of block 0: clients (0100, with their VANs in 0105), capture
// devices (0200), partner institutions (0300) and authorised institutions
// (0600). Block 1 looks records up here and flags them as referenced; the end
// of the file walks clients and devices in key order.
#pragma once

#include <cstdint>
#include <string_view>

#include "absl/container/flat_hash_map.h"
#include "rules/intern.hpp"

namespace volp {

struct Run;
struct Record;

struct ClientEntry {
  std::string_view code;  // COD_CLIENTE (interned)
  int64_t offset = 0;     // the 0100's position and line
  int64_t line = 0;
  int32_t code_column = 0;  // column of COD_CLIENTE in that line
  int32_t uf_column = 0;    // column of UF (field 09) in that line
  std::string_view uf;      // field 09
  std::string_view cpf;     // field 04 when the client is identified by CPF only
  bool referenced = false;  // named by some block 1 record
  bool exempt = false;      // exempt from the no-reference check
  bool has_1120 = false;
  bool has_1220 = false;
  bool dest_matches_fisco = false;  // a 1120/1220 went through the UF rule
  std::string_view last_uf_dest;    // last UF_DEST accepted through the client's own UF
};

struct DeviceEntry {
  std::string_view code;  // COD_MCAPT (interned)
  int64_t offset = 0;
  int64_t line = 0;
  int32_t code_column = 0;
  int32_t tipo_tecn = 0;
  bool referenced = false;
};

struct PartnerEntry {
  std::string_view code;  // COD_IP_PAR (interned)
  int64_t offset = 0;
  int64_t line = 0;
  bool referenced = false;
};

struct Block0State {
  Arena arena;
  absl::flat_hash_map<std::string_view, ClientEntry> clients;
  absl::flat_hash_map<std::string_view, DeviceEntry> devices;
  absl::flat_hash_map<std::string_view, PartnerEntry> partners;

  ClientEntry* FindClient(std::string_view code) {
    auto it = clients.find(code);
    return it == clients.end() ? nullptr : &it->second;
  }
  DeviceEntry* FindDevice(std::string_view code) {
    auto it = devices.find(code);
    return it == devices.end() ? nullptr : &it->second;
  }
  PartnerEntry* FindPartner(std::string_view code) {
    auto it = partners.find(code);
    return it == partners.end() ? nullptr : &it->second;
  }
};

void ValidarRegistro_0100(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_0105(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_0200(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_0300(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_0600(Run& run, Record& rec, int prev_type, int src_line);

// End of file: clients and devices that nothing referred to, and clients
// outside the fiscal authority's UF without destinations.
void VerificacaoRegistro_0100(Run& run, int src_line);
void VerificacaoRegistro_0200(Run& run, int src_line);

}  // namespace volp
