// The layout of the declaration file: one table of fields per record type and
// the table of the 21 record types, in file order. Constant data; the per-run
// counters of each record type (records, findings, time) live in the run's
// own objects (see validation/context.hpp).
#pragma once

#include <cstdint>
#include <string_view>

namespace volp {

// Field type codes. The number is the code the layout uses.
enum FieldType : int32_t {
  kNumerico = 0,      // digits only; with decimals: integer part, comma, decimals
  kTexto = 1,         // free Latin-1 text
  kData = 2,          // AAAAMMDD
  kAnoMes = 3,        // AAAAMM
  kHora = 4,          // HHMMSS
  kCep = 5,           // 8 digits
  kMunicipio = 6,     // IBGE municipality code, 7 digits
  kUf = 7,            // two upper-case letters
  kCnpj = 8,          // 14 digits
  kCpf = 9,           // 11 digits
  kEmail = 10,        // e-mail address
  kChaveAcesso = 11,  // 44-digit access key of an NF-e, NFC-e, NFS-e or DC-e
};

struct FieldDef {
  int32_t number;    // row index: 0 is the record type itself
  int32_t type;      // FieldType
  int32_t size;      // maximum (or exact, for fixed-length types) length; 0 = no maximum
  int32_t decimals;  // digits after the comma for money fields
  char required;     // 'S' required, 'N' optional, 'E' one of a group of alternatives
  const char* name;  // Latin-1 display name used in messages
};

struct RecordTypeDef {
  const char* code;        // "0000" ... "9999"
  char required;           // 'S' the file must contain it, ' ' optional
  const FieldDef* fields;  // field table, row 0 is the type
  int32_t field_count;     // rows in `fields`
  int32_t level;           // 0 opening/closing, 1 block open/close, 2.. nested
  const char* occurrence;  // "1", "V", "1:N", "1:1"
  int32_t number;          // the code as a number (0 for "0000", 1100 for "1100")
  // A date field of this type naming an earlier year "contém data muito
  // antiga": the registries of clients (0100) and authorised institutions
  // (0600) describe relations that may be decades old and go back to 1970;
  // the period of the file and the operations of block 1 cannot predate 2010.
  int32_t min_year;
};

inline constexpr int kRecordTypeCount = 21;
inline constexpr int kMaxFields = 14;  // the widest layouts (0100, 0600)

extern const RecordTypeDef kRecordTypes[kRecordTypeCount];

// Index of each record type in kRecordTypes, for code that needs one by name.
enum RecordTypeIndex : int {
  kR0000,
  kR0001,
  kR0005,
  kR0100,
  kR0105,
  kR0200,
  kR0300,
  kR0600,
  kR0990,
  kR1001,
  kR1100,
  kR1110,
  kR1115,
  kR1120,
  kR1200,
  kR1220,
  kR1990,
  kR9001,
  kR9900,
  kR9990,
  kR9999,
};

// The record type code as a number, as the structure trace and the
// "previous record" tests use it.
inline int RecordTypeNumber(int type_index) { return kRecordTypes[type_index].number; }

// Table lookup by exact code (byte comparison, table order); -1 when unknown.
// `hint` is a row to try first (the previous record's type).
int FindRecordType(std::string_view code, int hint = -1);

// Purpose of the file (COD_FIN of 0000), index = code - 1.
inline constexpr int kFinalidadeCount = 6;
extern const char* const kFinalidades[kFinalidadeCount];
// Environment (TP_AMB of 0000), index = code - 1.
extern const char* const kAmbientes[2];

}  // namespace volp
