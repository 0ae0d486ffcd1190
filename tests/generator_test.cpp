// The generator is the validator's oracle: a generated file must validate
// clean, and each injected fault must give exactly the findings its manifest
// promises, no more and no fewer.
#include "generator/generator.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "generator/identity.hpp"
#include "spawn.hpp"
#include "support.hpp"

namespace {

using volpgen::ExpectedFinding;
using volpgen::FaultRequest;
using volpgen::Options;
using volpgen::Summary;

struct Generated {
  std::string text;
  Summary summary;
};

Generated Make(Options o) {
  volpgen::StringSink sink;
  Generated g;
  g.summary = volpgen::Generate(o, sink);
  g.text = std::move(sink.text);
  return g;
}

Options Small(int finalidade, uint64_t seed = 11) {
  Options o;
  o.finalidade = finalidade;
  o.seed = seed;
  o.transactions = 1500;
  o.clients = 6;
  o.devices = 8;
  if (finalidade == 3) {
    o.clients = -1;
    o.devices = 3;
  }
  return o;
}

// A finding reduced to what the manifest promises (texts in UTF-8).
using Key = std::tuple<int64_t, int64_t, std::string, int, int, std::string>;

std::vector<Key> Keys(const std::vector<ExpectedFinding>& expected) {
  std::vector<Key> keys;
  for (const ExpectedFinding& e : expected)
    keys.emplace_back(e.line, e.offset, e.record_type, e.field, e.severity, e.message);
  std::sort(keys.begin(), keys.end());
  return keys;
}

std::vector<Key> Keys(const volp::Result& r) {
  std::vector<Key> keys;
  for (const volp::Finding& f : r.findings)
    keys.emplace_back(f.line, f.offset, f.record_type, f.field_number, f.severity,
                      volp::Latin1ToUtf8(f.message));
  std::sort(keys.begin(), keys.end());
  return keys;
}

std::string Show(const std::vector<Key>& keys) {
  std::string s;
  for (const Key& k : keys)
    s += "  line " + std::to_string(std::get<0>(k)) + " @" + std::to_string(std::get<1>(k)) + " [" +
         std::get<2>(k) + " #" + std::to_string(std::get<3>(k)) + " sev " +
         std::to_string(std::get<4>(k)) + "] " + std::get<5>(k) + "\n";
  return s;
}

TEST(GeneratorTest, SameSeedSameBytesOtherSeedOtherBytes) {
  for (int fin = 1; fin <= 6; ++fin) {
    SCOPED_TRACE(fin);
    const Generated a = Make(Small(fin, 5));
    const Generated b = Make(Small(fin, 5));
    EXPECT_EQ(a.text, b.text);
    if (fin <= 3 || fin == 6) {
      EXPECT_NE(a.text, Make(Small(fin, 6)).text);
    }
  }
  // Faults do not disturb the rest of the file: outside the faulty line the
  // bytes are those of the clean file.
  Options o = Small(1, 5);
  o.faults = {{volpgen::kCpfDigit, 0}};
  const Generated clean = Make(Small(1, 5));
  const Generated faulty = Make(o);
  ASSERT_EQ(clean.text.size(), faulty.text.size());
  size_t differing = 0;
  for (size_t i = 0; i < clean.text.size(); ++i) differing += clean.text[i] != faulty.text[i];
  EXPECT_EQ(differing, 1u);
}

struct CleanCase {
  const char* name;
  int finalidade;
  int months;
  int64_t transactions;
  int64_t clients;
  int64_t devices;
  const char* uf = "SP";
  int period = 202510;
};

TEST(GeneratorTest, EveryFinalidadeValidatesClean) {
  const CleanCase cases[] = {
      {"normal", 1, 0, 3000, 12, 20},
      {"normal, devices shared by clients", 1, 0, 800, 10, 4},
      {"retificador", 2, 0, 2000, 7, 9},
      {"notificação, three months", 3, 3, 1500, -1, 3},
      {"notificação, one month", 3, 1, 300, -1, 2},
      {"zerado", 4, 0, -1, 4, -1},
      {"encerramento", 5, 0, -1, 4, -1},
      {"autorização", 6, 0, -1, 3, -1},
      // DF's CEP ranges interleave with GO's; February of a leap year.
      {"normal, DF, leap February", 1, 0, 2500, 10, 12, "DF", 202402},
      {"notificação across a year end", 3, 4, 1200, -1, 2, "RS", 202501},
      {"normal, the earliest period", 1, 0, 600, 3, 3, "AM", 201003},
  };
  for (const CleanCase& c : cases) {
    SCOPED_TRACE(c.name);
    Options o;
    o.finalidade = c.finalidade;
    o.transactions = c.transactions;
    o.clients = c.clients;
    o.devices = c.devices;
    if (c.months > 0) o.months = c.months;
    o.uf_fisco = c.uf;
    o.period = c.period;
    const Generated g = Make(o);
    std::string report;
    const volp::Result r = volp::test::ValidateText(g.text, &report);
    EXPECT_TRUE(r.completed);
    EXPECT_EQ(r.errors, 0);
    EXPECT_EQ(r.warnings, 0);
    EXPECT_TRUE(r.findings.empty()) << Show(Keys(r));
    EXPECT_NE(report.find("<SituacaoArquivo>Arquivo validado</SituacaoArquivo>"),
              std::string::npos);
    EXPECT_EQ(r.records_read, g.summary.lines);
    if (c.transactions > 0) {
      EXPECT_EQ(g.summary.transactions, c.transactions);
    }
  }
}

struct FaultCase {
  const char* faults;
  int finalidade;
  size_t findings;  // how many the manifest must list
};

TEST(GeneratorTest, EachFaultGivesExactlyItsManifestFindings) {
  const FaultCase cases[] = {
      {"cnpj-digit", 1, 2},      {"cpf-digit", 1, 2},
      {"bad-date", 1, 1},        {"cep-uf", 1, 1},
      {"non-latin1", 1, 1},      {"dup-0100", 1, 1},
      {"sum-1110", 1, 2},        {"qty-1110", 1, 2},
      {"sum-1115", 1, 1},        {"zero-1115", 1, 1},
      {"dup-1115", 1, 1},        {"nat-oper", 1, 1},
      {"bandeira", 1, 1},        {"order", 1, 2},
      {"missing-9900", 1, 1},    {"qtd-0990", 1, 1},
      {"qtd-9999", 1, 1},        {"lf-only", 1, 1},
      {"cpf-low", 1, 1},         {"sum-1110", 3, 2},
      {"dup-1115", 3, 1},        {"cnpj-digit", 4, 2},
      {"missing-9900", 6, 1},    {"lf-only", 6, 1},
      {"bad-date@line:9", 1, 1}, {"sum-1115,dup-0100,qtd-9999,nat-oper", 1, 4},
  };
  for (const FaultCase& c : cases) {
    for (uint64_t seed : {3u, 4u}) {
      SCOPED_TRACE(std::string(c.faults) + " finalidade " + std::to_string(c.finalidade) +
                   " seed " + std::to_string(seed));
      Options o = Small(c.finalidade, seed);
      std::string error;
      ASSERT_TRUE(volpgen::ParseFaults(c.faults, &o.faults, &error)) << error;
      const Generated g = Make(o);
      ASSERT_TRUE(g.summary.unplaced.empty());
      std::vector<ExpectedFinding> expected;
      for (const volpgen::AppliedFault& f : g.summary.faults)
        expected.insert(expected.end(), f.findings.begin(), f.findings.end());
      EXPECT_EQ(expected.size(), c.findings);
      const volp::Result r = volp::test::ValidateText(g.text);
      EXPECT_EQ(Keys(r), Keys(expected)) << "validator:\n"
                                         << Show(Keys(r)) << "manifest:\n"
                                         << Show(Keys(expected));
    }
  }
}

TEST(GeneratorTest, LineTargetLandsOnTheFirstFittingRecordFromThatLine) {
  // Lines 4 to 9 hold 0100 (and 0105) records; a 0105 cannot take bad-date,
  // so the fault moves on to the next 0100.
  const Generated clean = Make(Small(1));
  std::vector<int64_t> lines_0100;
  int64_t line = 0;
  for (size_t pos = 0; pos < clean.text.size(); pos = clean.text.find('\n', pos) + 1) {
    ++line;
    if (clean.text.compare(pos, 6, "|0100|") == 0) lines_0100.push_back(line);
  }
  ASSERT_GE(lines_0100.size(), 3u);
  for (int64_t target = 1; target <= lines_0100.back(); ++target) {
    Options o = Small(1);
    o.faults = {{volpgen::kBadDate, target}};
    const Generated g = Make(o);
    ASSERT_EQ(g.summary.faults.size(), 1u);
    const int64_t want = *std::lower_bound(lines_0100.begin(), lines_0100.end(), target);
    EXPECT_EQ(g.summary.faults[0].line, want) << "target " << target;
  }
  Options beyond = Small(1);
  beyond.faults = {{volpgen::kBadDate, lines_0100.back() + 1}};
  EXPECT_EQ(Make(beyond).summary.unplaced.size(), 1u);
}

TEST(GeneratorTest, ParseFaults) {
  struct Case {
    const char* list;
    bool ok;
    std::vector<std::pair<int, int64_t>> faults;
  };
  const Case cases[] = {
      {"", true, {}},
      {"lf-only", true, {{volpgen::kLfOnly, 0}}},
      {"cnpj-digit@random,bad-date@line:120",
       true,
       {{volpgen::kCnpjDigit, 0}, {volpgen::kBadDate, 120}}},
      {"order,,missing-9900", true, {{volpgen::kOrder, 0}, {volpgen::kMissing9900, 0}}},
      {"no-such-fault", false, {}},
      {"bad-date@line:", false, {}},
      {"bad-date@line:0", false, {}},
      {"bad-date@line:12x", false, {}},
      {"bad-date@somewhere", false, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.list);
    std::vector<FaultRequest> out;
    std::string error;
    EXPECT_EQ(volpgen::ParseFaults(c.list, &out, &error), c.ok);
    if (!c.ok) {
      EXPECT_FALSE(error.empty());
      continue;
    }
    ASSERT_EQ(out.size(), c.faults.size());
    for (size_t i = 0; i < out.size(); ++i) {
      EXPECT_EQ(out[i].kind, c.faults[i].first);
      EXPECT_EQ(out[i].line, c.faults[i].second);
    }
  }
  for (int k = 0; k < volpgen::kFaultKindCount; ++k)
    EXPECT_EQ(volpgen::FaultKindOf(volpgen::FaultName(k)), k);
}

TEST(GeneratorTest, MessageNumberFormats) {
  const std::pair<int64_t, const char*> milhar[] = {
      {0, "0"}, {999, "999"}, {1000, "1.000"}, {123456, "123.456"}, {1234567, "1.234.567"}};
  for (const auto& [n, text] : milhar) EXPECT_EQ(volpgen::Milhar(n), text);
  const std::pair<int64_t, const char*> moeda[] = {
      {0, "0,00"}, {5, "0,05"}, {100, "1,00"}, {337500, "3375,00"}, {123456789, "1234567,89"}};
  for (const auto& [n, text] : moeda) EXPECT_EQ(volpgen::Moeda(n), text);
}

TEST(GeneratorTest, SizeOptions) {
  Options lines;
  lines.lines = 5000;
  const Summary s = Make(lines).summary;
  EXPECT_GT(s.lines, 4500);
  EXPECT_LT(s.lines, 5500);

  struct Bad {
    const char* why;
    void (*set)(Options&);
  };
  const Bad bad[] = {
      {"finalidade 7", [](Options& o) { o.finalidade = 7; }},
      {"month 13", [](Options& o) { o.period = 202513; }},
      {"before 2010", [](Options& o) { o.period = 200912; }},
      {"unknown UF", [](Options& o) { o.uf_fisco = "XX"; }},
      {"too few transactions for the people declared by CPF",
       [](Options& o) { o.transactions = 40, o.clients = 10; }},
      {"a day cannot hold them all",
       [](Options& o) { o.transactions = 100000, o.clients = 1, o.devices = 1; }},
      {"notice with two clients", [](Options& o) { o.finalidade = 3, o.clients = 2; }},
  };
  for (const Bad& b : bad) {
    SCOPED_TRACE(b.why);
    Options o;
    b.set(o);
    volpgen::NullSink sink;
    EXPECT_THROW(volpgen::Generate(o, sink), std::invalid_argument);
  }
}

TEST(GeneratorTest, ManifestIsJsonWithTheFindings) {
  Options o = Small(1);
  o.faults = {{volpgen::kCepUf, 0}, {volpgen::kBadDate, 0}};
  const Generated g = Make(o);
  const std::string json = volpgen::ManifestJson(o, g.summary, "dir/a \"b\".txt");
  EXPECT_NE(json.find("\"file\": \"dir/a \\\"b\\\".txt\""), std::string::npos);
  EXPECT_NE(json.find("\"kind\": \"cep-uf\""), std::string::npos);
  EXPECT_NE(json.find("contém data inválida."), std::string::npos);  // UTF-8
  EXPECT_NE(json.find("\"unplaced\": []"), std::string::npos);
  EXPECT_EQ(std::count(json.begin(), json.end(), '{'), std::count(json.begin(), json.end(), '}'));
}

TEST(GeneratorTest, RandomFaultsSpreadOverTheRecordsThatCanTakeThem) {
  // A random fault must be able to land on any fitting record, not always on
  // the first: over a few seeds the bad dates fall on several 0100 lines and
  // the doubled transactions deep in block 1.
  std::set<int64_t> dates, dups;
  for (uint64_t seed = 1; seed <= 12; ++seed) {
    Options o = Small(1, seed);
    o.faults = {{volpgen::kBadDate, 0}, {volpgen::kDup1115, 0}};
    const Summary s = Make(o).summary;
    ASSERT_EQ(s.faults.size(), 2u);
    for (const volpgen::AppliedFault& f : s.faults)
      (f.kind == volpgen::kBadDate ? dates : dups).insert(f.line);
  }
  EXPECT_GE(dates.size(), 3u);
  EXPECT_GE(dups.size(), 8u);
}

TEST(GeneratorTest, IdentifiersOfTheOracle) {
  // Known numbers: CNPJ 11.222.333/0001-81 and CPF 529.982.247-25 are valid;
  // a remainder of 0 or 1 gives the digit 0, a remainder of 10 gives 1.
  struct Digit {
    const char* digits;
    int first, min, reset, expected;
  };
  const Digit digits[] = {
      {"112223330001", 5, 2, 9, 8}, {"1122233300018", 6, 2, 9, 1},
      {"529982247", 10, 2, 11, 2},  {"5299822472", 11, 2, 11, 5},
      {"000000000", 10, 2, 11, 0},  {"100000000", 10, 2, 11, 1},  // 10 % 11 = 10 -> 1
      {"000000001", 10, 2, 11, 9},  {"000000005", 10, 2, 11, 1},  // 10 -> 1
      {"000000011", 10, 2, 11, 6},  {"000000006", 10, 2, 11, 0},  // 12 % 11 = 1 -> 0
  };
  for (const Digit& d : digits) {
    SCOPED_TRACE(d.digits);
    EXPECT_EQ(volpgen::Mod11(d.digits, static_cast<int>(std::string_view(d.digits).size()), d.first,
                             d.min, d.reset),
              d.expected);
  }

  // Every unit's CEPs fall back into that unit, DF and GO included.
  for (int uf = 0; uf < volpgen::kUfCount; ++uf) {
    volpgen::Rng r(static_cast<uint64_t>(uf) + 1);
    for (int i = 0; i < 200; ++i) EXPECT_EQ(volpgen::UfOfCep5(volpgen::CepIn(r, uf) / 1000), uf);
  }
  EXPECT_EQ(volpgen::kUfs[volpgen::UfOfCep5(72850)].sigla, std::string("GO"));
  EXPECT_EQ(volpgen::kUfs[volpgen::UfOfCep5(73100)].sigla, std::string("DF"));

  // The municipality sample: real codes of the national table, under the
  // unit whose IBGE prefix they carry, at least one per unit.
  std::ifstream csv(volp::test::DataDir() + "/RELATORIO_DTB_BRASIL_MUNICIPIO.csv");
  ASSERT_TRUE(csv.good());
  std::set<int> national;
  for (std::string line; std::getline(csv, line);) {
    // UF;Nome_UF;Código Município Completo;Nome_Município
    const size_t a = line.find(';');
    const size_t b = a == std::string::npos ? a : line.find(';', a + 1);
    if (b != std::string::npos) national.insert(std::atoi(line.c_str() + b + 1));
  }
  for (int uf = 0; uf < volpgen::kUfCount; ++uf) {
    SCOPED_TRACE(volpgen::kUfs[uf].sigla);
    const auto muns = volpgen::MunicipiosOf(uf);
    EXPECT_FALSE(muns.empty());
    for (const volpgen::Municipio& m : muns) {
      EXPECT_EQ(m.code / 100000, volpgen::kUfs[uf].ibge);
      EXPECT_TRUE(national.count(m.code)) << m.code;
    }
  }
}

TEST(GeneratorTest, CommandLine) {
  volp::test::TempDir dir;
  const std::string out = dir.path() + "/g.txt";
  struct Case {
    const char* why;
    std::string args;
    int status;
    bool manifest;
  };
  const Case cases[] = {
      {"clean file, no manifest", "--transactions 300 -o " + out, 0, false},
      {"faults and their manifest", "--transactions 300 --faults bad-date,lf-only -o " + out, 0,
       true},
      {"a fault that finds no record", "--transactions 300 --faults bad-date@line:999999 -o " + out,
       2, true},
      {"unknown fault", "--faults nothing -o " + out, 2, false},
      {"options that cannot give a valid file", "--finalidade 3 --clients 2 -o " + out, 2, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    std::remove(out.c_str());
    std::remove((out + ".manifest.json").c_str());
    std::vector<std::string> args = {"generate"};
    std::istringstream words(c.args);
    for (std::string w; words >> w;) args.push_back(w);
    const int rc = volp::test::RunProgram(VOLP_CLI_PATH, args, "", dir.path() + "/stdout",
                                          dir.path() + "/stderr");
    EXPECT_EQ(rc, c.status) << volp::test::ReadFile(dir.path() + "/stderr");
    EXPECT_EQ(std::ifstream(out + ".manifest.json").good(), c.manifest);
    if (c.status == 0) {
      const volp::Result r = volp::Validate(out, [] {
        volp::Options o;
        o.tables_dir = volp::test::DataDir();
        o.today = volp::test::kToday;
        return o;
      }());
      EXPECT_EQ(r.errors, c.manifest ? 2 : 0);
    }
  }
}

}  // namespace
