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

// A client (0100), 24 bytes. The registry stores COD_CLIENTE, then UF (field
// 09), then the CPF (field 04) of a client identified by CPF only (an empty
// text for any other), one behind the other: `code` addresses all three.
// Positions are kept in 48 bits (files up to 256 TiB); columns in 14 bits, as
// a record is at most 9,999 bytes long.
struct ClientEntry {
  TextRef code;                   // COD_CLIENTE, followed by UF and the CPF
  uint64_t offset : 48 = 0;       // the 0100's position
  uint64_t code_column : 14 = 0;  // column of COD_CLIENTE in that line
  uint64_t referenced : 1 = 0;    // named by some block 1 record
  uint64_t exempt : 1 = 0;        // exempt from the no-reference check
  uint64_t line : 48 = 0;         // the 0100's line
  uint64_t uf_column : 14 = 0;    // column of UF (field 09) in that line
  uint64_t has_1120 : 1 = 0;      // a 1120 / 1220 of the client passed the UF rule
  uint64_t has_1220 : 1 = 0;

  std::string_view uf() const { return code.Next().view(); }
  // Empty unless the client is identified by CPF only.
  std::string_view cpf() const { return code.Next().Next().view(); }
};
static_assert(sizeof(ClientEntry) == 24);

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
