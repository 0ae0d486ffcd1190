// Small declaration files for end-to-end tests: the opening records, the
// closing counts and block 9 are written from the records a test gives, so a
// variant states only what it changes. Identifiers carry real check digits.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "core/format.hpp"
#include "core/record_types.hpp"
#include "support.hpp"

namespace volp::test {

// The two modulus-11 check digits (CNPJ: weights from 5, reset to 9; CPF:
// from 10, reset to 11).
inline std::string Cnpj(std::string base) {
  for (int k = 0; k < 2; ++k) {
    int w = 5 + k, sum = 0;
    for (char c : base) sum += (c - '0') * w, w = w == 2 ? 9 : w - 1;
    base.push_back(static_cast<char>('0' + (sum % 11 < 2 ? 0 : 11 - sum % 11)));
  }
  return base;
}

inline std::string Rec(std::initializer_list<std::string_view> fields) {
  std::string out = "|";
  for (std::string_view f : fields) out.append(f).push_back('|');
  return out;
}

inline std::string Client(std::string_view code, std::string_view cep = "01310100",
                          std::string_view mun = "3550308", std::string_view uf = "SP",
                          std::string_view cnpj = "445556660001") {
  return Rec({"0100", code, Cnpj(std::string(cnpj)), "", "Cliente", "Rua B, 2", cep, mun, uf, "",
              "", "", "20200115", "0"});
}
inline std::string Partner(std::string_view code, std::string_view uf = "SP") {
  return Rec({"0300", code, Cnpj("987654320001"), "Parceira", "Rua D, 4", "01310300",
              uf == "SP" ? "3550308" : "3304557", uf, "", "", ""});
}
inline std::string Device(std::string_view code, std::string_view num_log, std::string_view tipo,
                          std::string_view prop, std::string_view marca) {
  return Rec({"0200", code, num_log, tipo, prop, marca});
}
inline std::string Van(std::string_view qtd = "10") {
  return Rec({"0105", Cnpj("123456780001"), "Van", qtd});
}

struct Declaration {
  std::string cod_fin = "1", dt_ini = "20250101", dt_fin = "20250131", mes_val = "202502";
  std::vector<std::string> registry;               // between 0005 and 0990
  std::vector<std::string> block1;                 // between 1001 and 1990 (none: IND_MOV 0)
  std::string qtd_lin_0, qtd_lin_9, qtd_lin;       // stated totals; empty = right
  std::map<std::string, std::string> stated_9900;  // "-" = no 9900 for the type
  std::vector<std::string> extra_9900;

  std::vector<std::string> Lines() const {
    std::vector<std::string> out = {
        Rec({"0000", "07", cod_fin, "SP", Cnpj("112223330001"), "Empresa", dt_ini, dt_fin, "1",
             mes_val}),
        "|0001|1|",
        Rec({"0005", "Loja", "Rua A, 100", "01001000", "3550308", "SP", "Fulano", "1133334444",
             "contato@teste.com.br"}),
    };
    out.insert(out.end(), registry.begin(), registry.end());
    out.push_back(Rec({"0990", Or(qtd_lin_0, out.size() + 1)}));
    out.push_back(block1.empty() ? "|1001|0|" : "|1001|1|");
    out.insert(out.end(), block1.begin(), block1.end());
    out.push_back(Rec({"1990", std::to_string(block1.size() + 2)}));
    out.push_back("|9001|1|");
    std::map<std::string, size_t> n;
    for (const std::string& l : out) ++n[l.substr(1, 4)];
    std::vector<std::string> types;
    for (const RecordTypeDef& t : kRecordTypes) {
      auto s = stated_9900.find(t.code);
      if (s == stated_9900.end() ? n.count(t.code) || t.code[0] == '9' : s->second != "-")
        types.push_back(t.code);
    }
    n["9900"] = types.size() + extra_9900.size();
    n["9990"] = n["9999"] = 1;
    for (const std::string& t : types)
      out.push_back(
          Rec({"9900", t, stated_9900.count(t) ? stated_9900.at(t) : std::to_string(n[t])}));
    out.insert(out.end(), extra_9900.begin(), extra_9900.end());
    out.push_back(Rec({"9990", Or(qtd_lin_9, n["9900"] + 3)}));
    out.push_back(Rec({"9999", Or(qtd_lin, out.size() + 1)}));
    return out;
  }
  static std::string Or(const std::string& s, size_t right) {
    return s.empty() ? std::to_string(right) : s;
  }
};

// An expected error at the `nth` line starting with `at`, on a printed field
// number. "{L<prefix>}" / "{P<prefix>}" in the message stand for the line /
// byte position (thousands format) of the first line starting with <prefix>.
struct Expected {
  std::string at;
  int nth, field;
  std::string message;
};

inline int64_t LineOf(const std::vector<std::string>& lines, std::string_view prefix, int nth = 1) {
  for (size_t i = 0; i < lines.size(); ++i)
    if (lines[i].starts_with(prefix) && --nth == 0) return static_cast<int64_t>(i) + 1;
  ADD_FAILURE() << "no line " << prefix;
  return 0;
}

// `message` with its "{L<prefix>}" and "{P<prefix>}" replaced.
inline std::string Fill(const std::vector<std::string>& lines, std::string message) {
  for (size_t open; (open = message.find('{')) != std::string::npos;) {
    const size_t close = message.find('}', open);
    int64_t value = LineOf(lines, std::string_view(message).substr(open + 2, close - open - 2));
    if (message[open + 1] == 'P') {
      const int64_t line = value;
      value = 0;
      for (int64_t i = 0; i + 1 < line; ++i) value += static_cast<int64_t>(lines[i].size()) + 2;
    }
    message.replace(open, close - open + 1, Milhar(value).c_str());
  }
  return message;
}

// Compares the run's errors (not its warnings) with the expected ones.
inline void ExpectErrors(const Declaration& d, const std::vector<Expected>& expected) {
  const std::vector<std::string> lines = d.Lines();
  Result r = ValidateText(Lines(lines));
  ASSERT_TRUE(r.completed) << r.failure;
  std::vector<std::string> got, want;
  for (const Finding& f : r.findings)
    if (f.severity != 1)
      got.push_back(std::to_string(f.line) + "#" + std::to_string(f.field_number) + " " +
                    Latin1ToUtf8(f.message));
  for (const Expected& e : expected)
    want.push_back(std::to_string(LineOf(lines, e.at, e.nth)) + "#" + std::to_string(e.field) +
                   " " + Fill(lines, e.message));
  std::sort(got.begin(), got.end());
  std::sort(want.begin(), want.end());
  EXPECT_EQ(got, want);
}

// Fin 2 with block 1 declared empty (so every client is exempt from the
// no-reference rule): two clients, a VAN and a partner.
inline Declaration RegistryBase() {
  Declaration d;
  d.cod_fin = "2";
  d.registry = {Client("C1"), Van(), Client("C2", "01310200"), Partner("P1")};
  return d;
}

// Fin 1 whose clients and devices are all used by block 1.
inline Declaration FullBase() {
  Declaration d;
  d.registry = {Client("C1"),
                Van(),
                Client("C2", "01310200"),
                Device("M1", "LOG1", "1", "0", ""),
                Device("M2", "LOG2", "2", "1", "MarcaX"),
                Partner("P1")};
  const std::string adq = Cnpj("135792460001");
  d.block1 = {"|1100||C1|0|0|20250101|20250131|100,00|1|",
              Rec({"1110", "M1", "20250110", "100,00", "1", adq}),
              "|1115|NSU1|AUT1|TX1|0|1|101500|100,00|1||",
              "|1100||C2|0|0|20250101|20250131|50,00|1|",
              Rec({"1110", "M2", "20250111", "50,00", "1", adq}),
              "|1115|NSU2|AUT2|TX2|0|1|111500|50,00|1||"};
  return d;
}

// Puts `line` in place of (at 0), before (-1) or after (+1) the first record
// starting with `prefix`.
inline void Put(std::vector<std::string>& records, std::string_view prefix, int where,
                std::string line) {
  auto it = std::find_if(records.begin(), records.end(),
                         [&](const std::string& r) { return r.starts_with(prefix); });
  ASSERT_NE(it, records.end()) << prefix;
  if (where == 0)
    *it = std::move(line);
  else
    records.insert(where < 0 ? it : it + 1, std::move(line));
}

}  // namespace volp::test
