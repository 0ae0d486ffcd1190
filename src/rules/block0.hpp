// The registries of block 0: clients (0100, with their VANs in 0105), capture
// devices (0200), partner institutions (0300) and authorised institutions
// (0600). Block 1 looks records up here and flags them as referenced; the end
// of the file walks clients and devices in key order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "rules/fingerprint_index.hpp"
#include "rules/intern.hpp"
#include "rules/registry.hpp"

namespace volp {

struct Run;
struct Record;

// A client (0100). The registry stores COD_CLIENTE, then UF (field 09), then
// the CPF (field 04) of a client identified by CPF only, one behind the other:
// `code` addresses all three. Columns fit 16 bits: a record is at most 9,999
// bytes long.
struct ClientEntry {
  TextRef code;        // COD_CLIENTE, followed by UF and the CPF
  int64_t offset = 0;  // the 0100's position and line
  int64_t line = 0;
  int16_t code_column = 0;      // column of COD_CLIENTE in that line
  int16_t uf_column = 0;        // column of UF (field 09) in that line
  bool referenced : 1 = false;  // named by some block 1 record
  bool exempt : 1 = false;      // exempt from the no-reference check
  bool has_1120 : 1 = false;
  bool has_1220 : 1 = false;
  bool dest_matches_fisco : 1 = false;  // a 1120/1220 went through the UF rule
  bool by_cpf : 1 = false;              // identified by CPF only: the CPF is stored

  std::string_view uf() const { return code.Next().view(); }
  std::string_view cpf() const { return by_cpf ? code.Next().Next().view() : std::string_view(); }
};
static_assert(sizeof(ClientEntry) == 32);

// A capture device (0200), 24 bytes: millions of them fill block 0 of the
// largest acquirers. Positions are kept in 48 bits (files up to 256 TiB),
// beside the code's column (at most 9,999) and TIPO_TECN.
struct DeviceEntry {
  TextRef code;  // COD_MCAPT
  uint64_t offset : 48 = 0;
  uint64_t code_column : 16 = 0;
  uint64_t line : 48 = 0;
  uint64_t tipo_tecn : 8 = 0;  // 1-7; 0 when not one of those, 127 when far out
  uint64_t referenced : 1 = 0;
};
static_assert(sizeof(DeviceEntry) == 24);

struct PartnerEntry {
  TextRef code;  // COD_IP_PAR
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

// A key that only needs to be unique, with its first record's place.
struct UniqueKey {
  TextRef code;
  RegisteredAt first;
};

struct Block0State {
  Registry<ClientEntry> clients;
  Registry<DeviceEntry> devices;
  Registry<PartnerEntry> partners;

  // A VAN (0105) is registered once per client: key "COD_CLIENTE|CNPJ da VAN",
  // the client being the one of the 0100 that precedes the 0105. Filed as a
  // fingerprint with the first 0105's place and its client, whose line is
  // read again to compare the CNPJ.
  struct VanPlace {
    RegisteredAt first;
    const char* client = nullptr;  // the client's stored code; null for none
  };
  FingerprintMap<VanPlace> vans;
  // A physical terminal is registered once whatever its COD_MCAPT: key
  // "NUM_LOG|Marca" of the 0200, filed as a fingerprint with the id of the
  // device that declared it first (whose 0200 line is read again to confirm).
  FingerprintIndex terminals;
  // Institutions authorised by the declarant (0600), by CNPJ.
  Registry<UniqueKey> authorised{64 * 1024};

  // COD_CLIENTE of the last 0100 read (empty before the first or when that
  // 0100 had no code): the owner of the 0105 records that follow.
  TextRef current_client;
  // 0100 records validated so far (a finalidade 3 file declares one).
  int64_t client_records = 0;
  // Scratch space for composite keys; keeps its capacity between records.
  std::string key_buf;

  // Entries never move: the pointers stay good for the whole run.
  ClientEntry* FindClient(std::string_view code) { return clients.Find(code); }
  DeviceEntry* FindDevice(std::string_view code) { return devices.Find(code); }
  PartnerEntry* FindPartner(std::string_view code) { return partners.Find(code); }
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
