// The registries of block 0: clients (0100, with their VANs in 0105), capture
// devices (0200), partner institutions (0300) and authorised institutions
// (0600). Block 1 looks records up here and flags them as referenced; the end
// of the file walks clients and devices in key order.
#pragma once

#include <cstdint>
#include <string>
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

// Where the first record of a key was met, for the "já foi encontrado"
// messages of later duplicates.
struct RegisteredAt {
  int64_t offset = 0;
  int64_t line = 0;
};

struct Block0State {
  Arena arena;
  KeyMap<ClientEntry> clients;
  KeyMap<DeviceEntry> devices;
  KeyMap<PartnerEntry> partners;

  // A VAN (0105) is registered once per client: key "COD_CLIENTE|CNPJ da VAN",
  // the client being the one of the 0100 that precedes the 0105.
  KeyMap<RegisteredAt> vans;
  // A physical terminal is registered once whatever its COD_MCAPT: key
  // "NUM_LOG|Marca" of the 0200.
  KeyMap<RegisteredAt> terminals;
  // Institutions authorised by the declarant (0600), by CNPJ.
  KeyMap<RegisteredAt> authorised;

  // COD_CLIENTE of the last 0100 read (interned; empty before the first or
  // when that 0100 had no code): the owner of the 0105 records that follow.
  std::string_view current_client;
  // 0100 records validated so far (a finalidade 3 file declares one).
  int64_t client_records = 0;
  // Scratch space for composite keys; keeps its capacity between records.
  std::string key_buf;

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
