#include "fields/field_analysis.hpp"

#include <gtest/gtest.h>

#include <random>
#include <regex>
#include <string>
#include <vector>

#include "core/record_types.hpp"
#include "fields/shapes.hpp"
#include "support.hpp"

namespace volp {
namespace {

// Valid records; each case changes one or two fields of one of them.
const char* const k0000 = "|0000|07|1|SP|11222333000181|Empresa|20251001|20251031|1|202511|";
const char* const k0005 = "|0005|F|Rua A|01310100|3550308|SP|Fulano|1199|x@empresa.com.br|";
const char* const k0100 = "|0100|C1|11222333000181||L|R|01310100|3550308|SP||||20200101|0|";
const char* const k0600 =
    "|0600|1|11222333000181|1|N|R|01310100|3550308|SP|P|1|a@b.co|20200101|20300101|";
const char* const k1110 = "|1110|M1|20251015|1234567,00|10|11222333000181|";
const char* const k1115 = "|1115|1|2|3|0|01|235959|10,00|01||";
const char* const kChave = "35251011222333000181550010000000011234567899";

// The line with the field of layout row `row` replaced.
std::string With(std::string line, int row, std::string_view value) {
  size_t start = 0;
  for (int i = 0; i <= row; ++i) start = line.find('|', start) + 1;
  line.replace(start, line.find('|', start) - start, value);
  return line;
}

struct Expect {
  int field;            // printed number (layout row + 1)
  std::string message;  // UTF-8; "{}" = this field's layout name, "{N}" = field N's
  int severity = 2;
};

struct Case {
  std::string line;
  std::vector<Expect> expect;
  const char* dt_fin = "";  // period end of an earlier 0000 (start set alike)
};

std::string Expand(const Expect& e, int type) {
  std::string out = test::L1(e.message);
  for (size_t p; (p = out.find('{')) != std::string::npos;) {
    size_t q = out.find('}', p);
    int field = q == p + 1 ? e.field : std::stoi(out.substr(p + 1, q - p - 1));
    out.replace(p, q - p + 1, kRecordTypes[type].fields[field - 1].name);
  }
  return out;
}

void RunCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    test::RunFixture fx;
    fx.run.ctx.dt_ini = fx.run.ctx.dt_fin = c.dt_fin;
    const int type = fx.Split(c.line);
    ASSERT_GE(type, 0) << c.line;
    fx.ps.findings.list.clear();
    AnalisarRegistro(fx.run, fx.rec);
    const auto& got = fx.ps.findings.list;
    ASSERT_EQ(got.size(), c.expect.size()) << c.line << "\n" << (got.empty() ? "" : got[0].message);
    for (size_t i = 0; i < got.size(); ++i) {
      EXPECT_EQ(got[i].message, Expand(c.expect[i], type)) << c.line;
      EXPECT_EQ(got[i].field_number, c.expect[i].field) << c.line;
      EXPECT_EQ(got[i].severity, c.expect[i].severity) << c.line;
    }
  }
}

TEST(FieldAnalysis, TypesPresenceAndEncoding) {
  const std::string latin1 = " não representável na codificação ASC-II - ISO 8859-1 (Latin-1).";
  RunCases({
      {k0000, {}},
      {With(k0000, 1, "7a"), {{2, "Campo 02 - '{}' deve ser numérico."}}},
      {With(k0000, 1, "071"), {{2, "Campo 02 - '{}' tem tamanho 3 superior ao máximo 2."}}},
      {With(k0000, 5, ""), {{6, "Campo 06 - '{}' é obrigatório."}}},
      {With(k0000, 5, "   "), {{6, "Campo 06 - '{}' é obrigatório mas está em branco."}}},
      {With(k0000, 5,
            "A\x01"
            "B\x85\x7F\t"),
       {{6, "Campo 06 - '{}' contém 4 caracteres inválidos" + latin1}}},
      {With(k0000, 5, "N\x9F"), {{6, "Campo 06 - '{}' contém 1 caractere inválido" + latin1}}},
      {With(k0000, 5, test::L1("Ação\xA0ÿ")), {}},
      {With(k0000, 3, "sp"), {{4, "Campo 04 - '{}' deve ser alfabético e maiúsculo."}}},
      {With(k0000, 3, "XX"), {{4, "Campo 04 - '{}' contém UF inválida."}}},
      {With(k0000, 3, "S"), {{4, "Campo 04 - '{}' tem tamanho 1 mas deveria ter 2."}}},
      {With(k0000, 4, "00000000000000"),
       {{5, "Campo 05 - '{}' contém CNPJ '00000000000000' inválido."}}},
      {With(k0000, 4, "11222333000180"),
       {{5, "O dígito verificador 2 não confere! Tem valor 0 mas deveria ter 1."},
        {5, "Campo 05 - '{}' contém CNPJ '11222333000180' inválido."}}},
      {With(k0005, 3, "0131010A"), {{4, "Campo 04 - '{}' deve ser numérico."}}},
      // Digits are checked eight at a time: a stray byte just past '9' or
      // before '0', anywhere in the word or in the tail.
      {With(k0005, 7, "1198765:4321"), {{8, "Campo 08 - '{}' deve ser numérico."}}},
      {With(k0005, 7, "11987654/32"), {{8, "Campo 08 - '{}' deve ser numérico."}}},
      {With(k0005, 4, "3550309"),
       {{5,
         "O campo 05 - '{}' contém o código 3550309 não encontrado na tabela do IBGE de "
         "29/05/2020!"}}},
      {With(k0005, 4, "3550316"),  // a right check digit, but no such municipality
       {{5,
         "O campo 05 - '{}' contém o código 3550316 não encontrado na tabela do IBGE de "
         "29/05/2020!"}}},
      {With(k0005, 4, "5203939"), {}},
      {With(k0005, 8, "a@b"), {{9, "Campo 09 - '{}' contém e-mail [a@b] inválido."}}},
      {With(k0005, 4, ""), {}},
      {With(k0005, 4, ""),
       {{5, "ATENÇÃO: A partir de 06/2021 o campo 05 - '{}' será obrigatório.", 1}},
       "20210531"},
      {With(k0005, 4, ""),
       {{5, "A partir de 06/2021 o campo 05 - '{}' passou a ser obrigatório."}},
       "20210601"},
      {With(k0100, 3, "52998224725"),
       {{4, "O campo 04 - '{}' deve ser vazio porque já tem o campo 03 - '{3}'."}}},
      {With(k0100, 2, ""), {{3, "Faltou preencher um dos campos: 03 - '{3}'. ou 04 - '{4}'."}}},
      {With(With(k0100, 2, ""), 3, "11111111111"),
       {{4, "Campo 04 - '{}' contém CPF '11111111111' inválido."}}},
      {With(k1115, 6, "240000"), {{7, "Campo 07 - '{}' contém hora inválida."}}},
      {With(k1115, 6, "235960"), {{7, "Campo 07 - '{}' contém hora inválida."}}},
      {With(k1115, 6, "23:590"), {{7, "Campo 07 - '{}' contém hora inválida."}}},
      {"|1120|SP|" + std::string(kChave) + "||||||||", {}},
      {"|1120|SP|" + std::string(kChave, 43) + "||||||||",
       {{3, "O campo 03 - '{}' tem tamanho 43 mas deveria ter 44."}}},
      {"|1120|SP|" + std::string(kChave, 43) + "8||||||||",
       {{3, "O campo 03 - '{}' contém chave inválida."}}},
      {"|9900|0000|123456789012345678901234567890|", {}},  // QTD_REG_BLC has no maximum
  });
}

TEST(FieldAnalysis, MoneyValues) {
  RunCases({
      {With(k1110, 3, "0,00"), {}},
      {With(k1110, 3, "12345678,0"),
       {{4, "Campo 04 - '{}' tem valor com 8 dígitos numéricos mas o limite máximo é 7."}}},
      {With(k1110, 3, "100"), {{4, "Campo 04 - '{}' sem a parte decimal."}}},
      {With(k1110, 3, ",50"), {{4, "Campo 04 - '{}' tem nenhum dígito numérico inteiro."}}},
      {With(k1110, 3, "1,2,3"), {{4, "Campo 04 - '{}' com muitas vírgulas."}}},
      {With(k1110, 3, "1,5"),
       {{4, "Campo 04 - '{}' tem a parte decimal com 1 dígito numérico mas deveria ter 2."}}},
      {With(k1110, 3, "1,0a"), {{4, "Campo 04 - '{}' tem dígito não numérico."}}},
      {With(k1110, 3, "10.00"), {{4, "Campo 04 - '{}' tem dígito não numérico."}}},
  });
}

// Dates: a real AAAAMMDD day, not before 2010 (1970 for the registries of
// block 0), not after the day of the run (an authorisation may end later);
// the period end closes its month unless the file answers a notification.
// MES_VAL: a real month from 2010, not before the period, not after the run.
TEST(FieldAnalysis, DatesAndMonths) {
  const std::string mes = "Campo 10 - '{}' contém ano e mês ";
  RunCases({
      {With(k0000, 6, "20251032"), {{7, "Campo 07 - '{}' contém data inválida."}}},
      {With(k0000, 6, "01102025"), {{7, "Campo 07 - '{}' contém data inválida."}}},
      {With(k0000, 6, "20091001"), {{7, "Campo 07 - '{}' contém data muito antiga."}}},
      {With(k0000, 6, "20260116"), {{7, "Campo 07 - '{}' contém data adiantada."}}},
      {With(k0000, 7, "20251030"),
       {{8, "Campo 08 - '{}' contém 20251030 que não é o último dia do mês."}}},
      {With(With(k0000, 2, "3"), 7, "20251030"), {}},
      {With(With(With(k0000, 6, "20240201"), 7, "20240229"), 9, "202402"), {}},
      {With(With(k0000, 6, "20230201"), 7, "20230229"),
       {{8, "Campo 08 - '{}' contém data inválida."}}},
      {With(k0100, 12, "19700101"), {}},
      {With(k0100, 12, "19691231"), {{13, "Campo 13 - '{}' contém data muito antiga."}}},
      {With(k0100, 12, "20260115"), {}},
      {With(k0100, 12, "20260116"), {{13, "Campo 13 - '{}' contém data adiantada."}}},
      {k0600, {}},
      {With(With(k0600, 12, "19700101"), 13, "19700102"), {}},
      {With(k0600, 12, "19691231"), {{13, "Campo 13 - '{}' contém data muito antiga."}}},
      {With(k0600, 13, "19691231"), {{14, "Campo 14 - '{}' contém data muito antiga."}}},
      {With(k0600, 12, "20300101"), {{13, "Campo 13 - '{}' contém data adiantada."}}},
      {With(k1110, 2, "20091231"), {{3, "Campo 03 - '{}' contém data muito antiga."}}},
      {With(k0000, 9, "202513"), {{10, mes + "202513 inválido. Deveria ser 202601."}}},
      {With(k0000, 9, "200912"), {{10, mes + "200912 inválido. Deveria ser 202601."}}},
      {With(k0000, 9, "202509"), {{10, mes + "202509 invalido. Deveria ser 202601."}}},
      {With(k0000, 9, "202510"), {}},
      {With(k0000, 9, "202601"), {}},
      {With(k0000, 9, "202602"), {{10, mes + "202602 incorreto. Deveria ser 202601."}}},
  });
}

// A finding points at its field (column, content, length); the marks are set.
TEST(FieldAnalysis, FindingsAndMarks) {
  const std::string bad = "Empresa\x01";
  const std::string line = With(k0000, 5, bad);
  test::RunFixture fx;
  ASSERT_EQ(fx.Split(line), kR0000);
  AnalisarRegistro(fx.run, fx.rec);
  ASSERT_EQ(fx.ps.findings.list.size(), 1u);
  const Finding& f = fx.ps.findings.list[0];
  EXPECT_EQ(f.column, static_cast<int>(line.find(bad)) + 1);
  EXPECT_EQ(f.content, bad);
  EXPECT_EQ(f.length, static_cast<int>(bad.size()));
  EXPECT_FALSE(fx.rec.valid(5));
  EXPECT_TRUE(fx.rec.valid(4) && fx.rec.filled(4));

  test::RunFixture few;
  ASSERT_EQ(few.Split("|0001|"), kR0001);
  AnalisarRegistro(few.run, few.rec);
  ASSERT_EQ(few.ps.findings.list.size(), 2u);
  EXPECT_EQ(few.ps.findings.list[0].message, "Registro '0001' tem 1 campos mas deveria ter 2.");
  EXPECT_EQ(few.ps.findings.list[0].field_number, 0);
  EXPECT_FALSE(few.rec.filled(1) || few.rec.valid(1));

  test::RunFixture optional;
  ASSERT_EQ(optional.Split(With(k1110, 5, "")), kR1110);
  AnalisarRegistro(optional.run, optional.rec);
  EXPECT_TRUE(optional.ps.findings.list.empty());
  EXPECT_TRUE(!optional.rec.filled(5) && optional.rec.valid(5));
}

// The shortcut for plainly good fields decides nothing AnalisarCampo would
// decide otherwise: random texts in every field of every layout, with and
// without control bytes, give the same findings and marks both ways, and a
// third way, with the fields a split worker would find plainly good marked
// in advance.
TEST(FieldAnalysis, ShortcutAgreesWithTheFullChecks) {
  std::mt19937 rng(11);
  const std::string alphabet = std::string("0123456789,, a") + '\x01';
  auto text = [&] {
    std::string t;
    const size_t len = rng() % 4 == 0 ? 0 : rng() % 22;
    const bool digits = rng() % 2 == 0;
    for (size_t i = 0; i < len; ++i)
      t += digits && rng() % 8 != 0 ? static_cast<char>('0' + rng() % 10)
                                    : alphabet[rng() % alphabet.size()];
    return t;
  };
  test::RunFixture full, quick, known;
  int all_known = 0;
  for (int round = 0; round < 300; ++round) {
    for (int type = 0; type < kRecordTypeCount; ++type) {
      std::string line = std::string("|") + kRecordTypes[type].code + "|";
      // Now and then only good texts, so that every field is known good.
      const bool plain = round % 3 == 0;
      for (int i = 1; i < kRecordTypes[type].field_count; ++i) line += (plain ? "" : text()) + "|";
      for (test::RunFixture* fx : {&full, &quick, &known}) {
        fx->ps.findings.list.clear();
        ASSERT_EQ(fx->Split(line), type);
      }
      AnalisarRegistroCompleto(full.run, full.rec);
      AnalisarRegistro(quick.run, quick.rec);
      known.rec.known_valid = CamposSemAchado(known.rec);
      const uint32_t all = (uint32_t{1} << kRecordTypes[type].field_count) - 1;
      all_known += (known.rec.known_valid & all) == all;
      AnalisarRegistro(known.run, known.rec);
      ASSERT_EQ(full.Messages(), quick.Messages()) << line;
      ASSERT_EQ(full.Messages(), known.Messages()) << line;
      for (int i = 0; i < kRecordTypes[type].field_count; ++i) {
        ASSERT_EQ(full.rec.filled(i), quick.rec.filled(i)) << line << " " << i;
        ASSERT_EQ(full.rec.valid(i), quick.rec.valid(i)) << line << " " << i;
        ASSERT_EQ(full.rec.valid(i), known.rec.valid(i)) << line << " " << i;
      }
    }
  }
  EXPECT_GT(all_known, 100);  // the skip was taken often
}

// The hand-written e-mail check accepts exactly what the pattern does.
TEST(FieldAnalysis, EmailAgreesWithTheRegularExpression) {
  const std::regex pattern(R"(^([a-zA-Z0-9_\-\.]+)@([a-zA-Z0-9\-\.]+)\.([a-zA-Z]+)$)");
  std::vector<std::string> inputs = {"a@b.c.d",  "a@.b",    "a@..b",   "a@b.",
                                     "a@b.c1",   "a@b@c.d", ".@-.x",   "a@b.c\n",
                                     "a@b.\xE9", "a@-.a",   "a@b.c.d1"};
  std::mt19937 rng(20260115);
  const std::string alphabet = "aZ09_-.@ +\xE9";
  const std::string parts[] = {"a", "Z9", "_", "-", ".", "x.y", "1", "", " "};
  for (int n = 0; n < 6000; ++n) {
    std::string s;
    if (n % 3 == 0) {  // random text
      s.resize(rng() % 12);
      for (char& c : s) c = alphabet[rng() % alphabet.size()];
    } else {  // address-shaped, so that both answers are frequent
      for (int k = 0; k < 3; ++k) s += parts[rng() % 9];
      s += "@" + parts[rng() % 9] + parts[rng() % 9] + (rng() % 4 ? "." : "") + parts[rng() % 3];
    }
    inputs.push_back(s);
  }
  int accepted = 0;
  for (const std::string& s : inputs) {
    const bool want = std::regex_search(s, pattern);
    accepted += want;
    EXPECT_EQ(EmailValido(s), want) << "[" << s << "]";
  }
  EXPECT_GT(accepted, 300);
}

TEST(Shapes, WordDigitTestAgreesWithAByteLoop) {
  // The digit test reads eight or four bytes at once; the bytes next to the
  // digits ('/', ':'), their high-bit twins (0xB0-0xB9) and the bytes whose
  // carry or borrow could spill into the next byte of the word must all be
  // told apart from digits, wherever they sit and whatever the length.
  const std::string kBytes = std::string("0123456789/:") + "\xB0\xB9\xFF\x80\x7F" + '\0' + " ,";
  std::mt19937 rng(5);
  const std::string padding(16, 'x');
  for (int round = 0; round < 200000; ++round) {
    const size_t len = rng() % 21;
    std::string text(len, '7');
    for (char& c : text) c = rng() % 3 == 0 ? kBytes[rng() % kBytes.size()] : '0' + rng() % 10;
    bool digits = true;
    for (char c : text) digits = digits && c >= '0' && c <= '9';
    // Non-digits around the text: a read past either end would be seen.
    const std::string framed = padding + text + padding;
    ASSERT_EQ(forma::AllDigits(std::string_view(framed).substr(16, len)), digits)
        << "[" << text << "]";
  }
}

}  // namespace
}  // namespace volp
