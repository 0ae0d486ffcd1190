// `volp generate`: declaration files that are valid by construction, with
// faults injected on request and a manifest of the findings each fault must
// produce. The generator knows the format on its own (it shares no code with
// the validator), so it can serve as the validator's independent oracle.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "generator/out.hpp"

namespace volpgen {

// The fault kinds, in the order --help lists them.
enum FaultKind {
  kCnpjDigit,    // 0100 CNPJ with a wrong first check digit
  kCpfDigit,     // 0100 CPF with a wrong first check digit
  kBadDate,      // 0100 DT_CREDEN on the 30th of February
  kCepUf,        // 0100 CEP inside another unit's range
  kNonLatin1,    // 0100 N_FANT written with a UTF-8 dash
  kDup0100,      // a 0100 written twice
  kSum1110,      // 1110 VALOR one cent above its transactions
  kQty1110,      // 1110 QTD one above its transactions
  kSum1115,      // 1115 value one cent off its 1110 total
  kZero1115,     // 1115 value 0,00 (the totals leave it out)
  kDup1115,      // a 1115 written twice (the totals count both)
  kNatOper,      // 1115 NAT_OPER 9
  kBandeira,     // 1115 BANDEIRA 36 (a warning)
  kOrder,        // the last 9900 written after the 9990
  kMissing9900,  // a 9900 left out (the totals count what was written)
  kQtd0990,      // 0990 one line above the truth
  kQtd9999,      // 9999 one line above the truth
  kLfOnly,       // a line ending in LF without CR
  kCpfLow,       // a client with CPF below 30 operations in the month
  kFaultKindCount
};

// The name used in --faults ("cnpj-digit") and the kind of a name (-1).
const char* FaultName(int kind);
int FaultKindOf(std::string_view name);

struct FaultRequest {
  int kind = 0;
  int64_t line = 0;  // apply at the first fitting record at or after this line; 0 = random
};

// Parses "cnpj-digit@random,bad-date@line:120,sum-1110"; false with a message.
bool ParseFaults(std::string_view list, std::vector<FaultRequest>* out, std::string* error);

struct Options {
  int64_t transactions = -1;  // 1115 records; -1 = from `lines` or a small default
  int64_t lines = -1;         // about this many lines in all
  int64_t clients = -1;       // 0100 records (0600 in finalidade 6); -1 = from the size
  int64_t devices = -1;       // 0200 records; -1 = from the number of clients
  uint64_t seed = 1;
  int finalidade = 1;
  int period = 202510;  // AAAAMM of the (last) month declared
  int months = 3;       // finalidade 3: months covered, ending with `period`
  std::string uf_fisco = "SP";
  std::vector<FaultRequest> faults;
};

// One finding that the validator must report, as its report lists it. Texts
// are UTF-8 (the report itself is ISO 8859-1).
struct ExpectedFinding {
  int64_t line = 0;
  int64_t offset = 0;
  std::string record_type;  // empty for framing findings
  int field = 0;            // the report's <Numero>; 0 = the record as a whole
  int severity = 2;         // 1 Advertência, 2 Rejeição
  std::string message;
};

struct AppliedFault {
  int kind = 0;
  int64_t requested_line = 0;  // 0 = random
  int64_t line = 0;            // the line the fault was applied to
  std::vector<ExpectedFinding> findings;
};

struct Summary {
  int64_t lines = 0;
  int64_t bytes = 0;
  int64_t transactions = 0;  // 1115 records written
  int64_t per_type[21] = {};
  std::vector<AppliedFault> faults;
  std::vector<FaultRequest> unplaced;  // faults that found no fitting record
};

// Writes the declaration to `sink` and returns what was written. Throws
// std::invalid_argument when the options cannot give a valid file.
Summary Generate(const Options& options, Sink& sink);

// The manifest (JSON, UTF-8) of a generated file.
std::string ManifestJson(const Options& options, const Summary& summary,
                         std::string_view file_name);

// Formats the validator's messages use: "1.234.567" and "1234567,89".
std::string Milhar(int64_t n);
std::string Moeda(int64_t cents);

// A sink that appends to a string (tests) and one that discards.
class StringSink : public Sink {
 public:
  void Write(const char* data, size_t size) override { text.append(data, size); }
  std::string text;
};
class NullSink : public Sink {
 public:
  void Write(const char*, size_t) override {}
};

}  // namespace volpgen
