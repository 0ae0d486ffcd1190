// The table of record types, over the field tables of layouts.hpp.
#include "core/record_types.hpp"

#include <iterator>

#include "core/latin1.hpp"
#include "core/layouts.hpp"

namespace volp {

using namespace layout;

namespace {

constexpr int32_t CodeNumber(const char* c) {
  return (c[0] - '0') * 1000 + (c[1] - '0') * 100 + (c[2] - '0') * 10 + (c[3] - '0');
}

}  // namespace

#define VOLP_ROW(code, req, level, occ, min_year)                                \
  {                                                                              \
#code, req, k##code, static_cast < int32_t>(std::size(k##code)), level, occ, \
        CodeNumber(#code), min_year                                              \
  }
const RecordTypeDef kRecordTypes[kRecordTypeCount] = {
    VOLP_ROW(0000, 'S', 0, "1", 2010),   VOLP_ROW(0001, 'S', 1, "1", 2010),
    VOLP_ROW(0005, 'S', 2, "1", 2010),   VOLP_ROW(0100, ' ', 2, "V", 1970),
    VOLP_ROW(0105, ' ', 3, "1:N", 2010), VOLP_ROW(0200, ' ', 2, "V", 2010),
    VOLP_ROW(0300, ' ', 2, "V", 2010),   VOLP_ROW(0600, ' ', 2, "V", 1970),
    VOLP_ROW(0990, 'S', 1, "1", 2010),   VOLP_ROW(1001, 'S', 1, "1", 2010),
    VOLP_ROW(1100, ' ', 2, "V", 2010),   VOLP_ROW(1110, ' ', 3, "1:N", 2010),
    VOLP_ROW(1115, ' ', 4, "1:N", 2010), VOLP_ROW(1120, ' ', 4, "1:1", 2010),
    VOLP_ROW(1200, ' ', 2, "V", 2010),   VOLP_ROW(1220, ' ', 3, "1:1", 2010),
    VOLP_ROW(1990, 'S', 1, "1", 2010),   VOLP_ROW(9001, 'S', 1, "1", 2010),
    VOLP_ROW(9900, 'S', 2, "V", 2010),   VOLP_ROW(9990, 'S', 1, "1", 2010),
    VOLP_ROW(9999, 'S', 0, "1", 2010),
};
#undef VOLP_ROW

const char* const kFinalidades[kFinalidadeCount] = {
    "1 - Remessa de arquivo normal"_l1,
    "2 - Remessa de arquivo retificador"_l1,
    "3 - Remessa de arquivo para atender notificação"_l1,
    "4 - Remessa de arquivo zerado"_l1,
    "5 - Remessa de arquivo de encerramento de atividades"_l1,
    "6 - Autorização para Instituição Parceira"_l1,
};

const char* const kAmbientes[2] = {"1 - produção"_l1, "2 - homologação"_l1};

namespace {

// The four bytes of a code as one integer, for a lookup without string
// comparisons (the codes are all four characters long).
constexpr uint32_t Pack4(const char* c) {
  return static_cast<uint32_t>(static_cast<unsigned char>(c[0])) |
         static_cast<uint32_t>(static_cast<unsigned char>(c[1])) << 8 |
         static_cast<uint32_t>(static_cast<unsigned char>(c[2])) << 16 |
         static_cast<uint32_t>(static_cast<unsigned char>(c[3])) << 24;
}

// Filled once, at the first lookup: the record-type table is defined in
// another unit, so this cannot be a constant expression.
struct PackedCodes {
  uint32_t code[kRecordTypeCount];
  PackedCodes() : code{} {
    for (int i = 0; i < kRecordTypeCount; ++i) code[i] = Pack4(kRecordTypes[i].code);
  }
};

}  // namespace

int FindRecordType(std::string_view code, int hint) {
  static const PackedCodes packed;
  if (code.size() != 4) return -1;
  const uint32_t key = Pack4(code.data());
  // Records come in runs of one type (1115 after 1115): try the last one first.
  if (hint >= 0 && hint < kRecordTypeCount && packed.code[hint] == key) return hint;
  for (int i = 0; i < kRecordTypeCount; ++i) {
    if (packed.code[i] == key) return i;
  }
  return -1;
}

}  // namespace volp
