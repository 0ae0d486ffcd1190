// What the parts of the declaration writer share: the record types, the
// texts the records draw from, and the writer itself. generator.cpp sets a
// file up and writes records; block0.cpp, block1.cpp and block9.cpp write the
// blocks; faults.cpp decides where faults fall and words the findings each
// must produce.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "generator/generator.hpp"
#include "generator/identity.hpp"
#include "generator/rng.hpp"

namespace volpgen::detail {

enum Type {
  T0000,
  T0001,
  T0005,
  T0100,
  T0105,
  T0200,
  T0300,
  T0600,
  T0990,
  T1001,
  T1100,
  T1110,
  T1115,
  T1120,
  T1200,
  T1220,
  T1990,
  T9001,
  T9900,
  T9990,
  T9999,
  kTypes
};
inline constexpr const char* kCodes[kTypes] = {
    "0000", "0001", "0005", "0100", "0105", "0200", "0300", "0600", "0990", "1001", "1100",
    "1110", "1115", "1120", "1200", "1220", "1990", "9001", "9900", "9990", "9999"};

// A daily group never holds more transactions than this, so that its total
// (at most 2.000,00 each) always fits the ten characters of the 1110 VALOR.
inline constexpr int64_t kMaxPerDay = 400;
// A client with CPF hit by the cpf-low fault keeps this many operations.
inline constexpr int64_t kLowQuota = 29;

// Texts, written in UTF-8 here and converted once to Latin-1.
inline constexpr const char* kTradeKinds[] = {
    "Padaria",   "Mercearia",       "Farmácia",         "Açougue",
    "Papelaria", "Restaurante",     "Lanchonete",       "Pet Shop",
    "Ótica",     "Sorveteria",      "Oficina Mecânica", "Floricultura",
    "Livraria",  "Salão de Beleza", "Hortifrúti",       "Loja de Calçados"};
inline constexpr const char* kTradeNames[] = {
    "São Jorge",    "Boa Esperança", "do Povo",   "Central",       "Estrela",   "Irmãos Silva",
    "Ipê Amarelo",  "Aurora",        "Bem-Te-Vi", "Três Corações", "Vila Nova", "Primavera",
    "Sol Nascente", "Santa Luzia",   "Jardim",    "Conceição"};
inline constexpr const char* kFirstNames[] = {
    "Ana",       "João",    "Maria",    "José", "Antônio", "Francisca", "Luís",    "Márcia",
    "Sebastião", "Letícia", "Raimundo", "Inês", "Gonçalo", "Débora",    "Cláudio", "Fátima"};
inline constexpr const char* kLastNames[] = {"Souza",     "Pereira",  "Conceição", "Araújo",
                                             "Gonçalves", "Lima",     "Ribeiro",   "Simões",
                                             "Magalhães", "Assunção", "Brandão",   "Falcão"};
inline constexpr const char* kStreets[] = {
    "Rua das Flores",         "Avenida Brasil",    "Travessa São Bento", "Rua Sete de Setembro",
    "Avenida Getúlio Vargas", "Rua Tiradentes",    "Praça da Matriz",    "Rua do Comércio",
    "Alameda dos Ipês",       "Estrada da Ribeira"};
// Terminal makers and VANs are invented names.
inline constexpr const char* kBrands[] = {"Maritaca", "Jandaia",  "Sabiá",
                                          "Tiê",      "Uirapuru", "Cardeal"};
inline constexpr const char* kVans[] = {"VAN Rede Pampa", "VAN Ponte Cerrado", "VAN Trilha Norte"};
inline constexpr const char* kPartners[] = {"Instituição Parceira Araucária", "Pagamentos Buriti",
                                            "Carteira Digital Mandacaru", "Subcredenciadora Ipê"};
inline constexpr const char* kAuthorised[] = {"Conta Fácil Aroeira", "Pagamentos Cambuí",
                                              "Banco Digital Jatobá"};

template <size_t N>
std::array<std::string, N> Latin1All(const char* const (&texts)[N]) {
  std::array<std::string, N> out;
  for (size_t i = 0; i < N; ++i) out[i] = ToLatin1(texts[i]);
  return out;
}

inline const char* Plural(int64_t n) { return n == 1 ? "" : "s"; }

inline int AddMonths(int yyyymm, int k) {
  int y = yyyymm / 100, m = yyyymm % 100 - 1 + k;
  y += m >= 0 ? m / 12 : -((11 - m) / 12);
  m = ((m % 12) + 12) % 12;
  return y * 100 + m + 1;
}

// The kinds whose effect changes the totals of their groups: they must be
// decided the same way when the totals are computed and when the records are
// written, so they take precedence over the others on the same record.
constexpr uint32_t Bit(int kind) { return 1u << kind; }
inline constexpr uint32_t kSumKinds = Bit(kZero1115) | Bit(kDup1115);

struct Fault {
  FaultRequest request;
  int64_t target = -1;  // random faults: the index of the opportunity to take
  int applied = -1;     // index in Summary::faults
};

// Which faults have fired and how many records could have taken each kind.
struct Cursor {
  uint64_t fired = 0;
  int64_t opp[kFaultKindCount] = {};
};

struct Client {
  int64_t index = 0;
  bool cpf = false;
  char doc[14];  // CNPJ (14) or CPF (11)
  int uf = 0;
  bool out_of_state = false;
  int64_t first_device = 0;
  int64_t devices = 0;
  int64_t device_step = 0;
  int partner = -1;
};

struct Device {
  int tech = 1;
  int term_prop = 0;
  int brand = -1;
  int acquirer = 0;
};

struct Totals {
  int64_t sum = 0;      // cents
  int64_t records = 0;  // 1115 (day) or QTD (group)
  int64_t groups = 0;   // 1110 (group)
  int64_t lines = 0;
};

class Gen {
 public:
  Gen(const Options& o, Sink* sink, bool counting, std::vector<Fault>* faults)
      : o_(o), out_(sink), counting_(counting), faults_(*faults) {
    Setup();
  }

  Summary Run();
  const Cursor& cursor() const { return cur_; }

 private:
  enum Mode { kSum, kWrite };

  void Setup();
  void ComputeQuotas();
  Client MakeClient(int64_t c) const;
  Device MakeDevice(int64_t d) const;
  int64_t Quota(int64_t c) const;
  int64_t MinQuota(const Client& cl) const;
  int64_t Weight(int64_t c) const {
    return 1 + static_cast<int64_t>(Mix(seed_, 0xC11E47 + c) >> 40) % 10;
  }

  // Records.
  void Begin(int type);
  void End();
  void Sep() { out_.Ch('|'); }
  void Field(std::string_view s) {
    out_.Ch('|');
    out_.Str(s);
  }
  void Digits(const char* p, int n) {
    out_.Ch('|');
    out_.Chars(p, static_cast<size_t>(n));
  }
  void Date(int yyyymmdd) {
    out_.Ch('|');
    out_.Pad(static_cast<uint64_t>(yyyymmdd), 8);
  }
  void Num(int64_t v) {
    out_.Ch('|');
    out_.U(static_cast<uint64_t>(v));
  }
  // COD_IP_PAR (empty for a client without a partner) and COD_CLIENTE, the
  // two fields that open both a 1100 and a 1200.
  void PartnerAndClient(const Client& cl) {
    if (cl.partner >= 0) {
      out_.Str("|PAR");
      out_.Pad(static_cast<uint64_t>(cl.partner), 4);
    } else {
      Sep();
    }
    out_.Str("|CLI");
    out_.Pad(static_cast<uint64_t>(cl.index), 8);
  }

  // The count a closing record states (0990's lines of block 0, 9999's of the
  // file), one too many when its fault falls there.
  void StatedCount(const char* type, int kind, int64_t count, const char* where);

  // Faults.
  int Pick(Cursor& c, uint32_t kinds, int64_t line);
  void Expect(int fault, int64_t line, int64_t offset, const char* type, int field, int severity,
              std::string message);
  // The findings each fault must produce, worded as the validator reports
  // them, at the records the fault touched.
  void ExpectLfOnly(int fault);
  void ExpectDup0100(int fault, int64_t client, int64_t line, int64_t offset);
  void Expect0100(int fault, int kind, int64_t line, int64_t offset, const Client& cl,
                  const char* doc, int cep, int other);
  void ExpectCpfLow(const Client& cl, const Totals& month);
  void Expect1110(int fault, int kind, const Totals& day, const Totals& month, int64_t valor,
                  int64_t qtd, int64_t line_1100, int64_t offset_1100);
  void Expect1115(int fault, int kind, int64_t first_line, int64_t first_offset, int64_t line_1110,
                  const Totals* day_totals);
  void ExpectOrder(int fault);
  void Expect9900(const bool* drop, const int* dropped_fault, int order, int last);

  // Blocks.
  void Block0();
  void Client0100(int64_t c);
  void Write0100(const Client& cl, Rng& r, int fault);
  void Block1();
  void Groups(const Client& cl);
  Totals Group(Mode mode, Cursor& c, const Client& cl, int64_t q, int dt_ini, int dt_fin, bool ext,
               int comex, int64_t line);
  Totals Day(Mode mode, Cursor& c, const Client& cl, const Device& dev, int64_t n, uint64_t seed,
             bool force_1120, int64_t line, const Totals* day_totals);
  void Write1120(const Client& cl, Rng& r, bool to_fisco);
  void Cancellations();
  void Block9();

  void Name(Rng& r, std::string* out) const;
  void Person(Rng& r) {
    Field(first_[r.Below(first_.size())]);
    out_.Ch(' ');
    out_.Str(last_[r.Below(last_.size())]);
  }
  void Street(Rng& r) {
    Field(streets_[r.Below(streets_.size())]);
    out_.Str(", ");
    out_.U(1 + r.Below(2999));
  }
  void Phone(Rng& r) {
    out_.Ch('|');
    out_.Pad(11 + r.Below(89), 2);
    out_.Ch('9');
    out_.Pad(r.Below(100000000), 8);
  }
  void Cep(int cep) {
    out_.Ch('|');
    out_.Pad(static_cast<uint64_t>(cep), 8);
  }

  const Options& o_;
  Out out_;
  bool counting_;
  std::vector<Fault>& faults_;
  Summary sum_;
  Cursor cur_;

  uint64_t seed_ = 0;
  int fin_ = 1;
  int uf_fisco_ = 0;
  int dt_ini_ = 0, dt_fin_ = 0;  // 0000 period
  int64_t t_ = 0, c_ = 0, d_ = 0, p_ = 0;
  int64_t min_total_ = 0, weight_total_ = 0, extra_ = 0, remainder_ = 0;
  char declarant_[14];
  std::vector<std::array<char, 14>> acquirers_, vans_;

  // The record being written.
  int type_ = 0;
  int64_t line_ = 0;
  int64_t offset_ = 0;
  bool lf_only_ = false;
  int64_t block_[3] = {};
  int64_t nsu_ = 0;
  int64_t offset_1110_ = 0;
  std::vector<std::pair<int64_t, int>> low_;  // clients made too small, with their fault

  // Texts in Latin-1.
  std::array<std::string, std::size(kTradeKinds)> kinds_ = Latin1All(kTradeKinds);
  std::array<std::string, std::size(kTradeNames)> names_ = Latin1All(kTradeNames);
  std::array<std::string, std::size(kFirstNames)> first_ = Latin1All(kFirstNames);
  std::array<std::string, std::size(kLastNames)> last_ = Latin1All(kLastNames);
  std::array<std::string, std::size(kStreets)> streets_ = Latin1All(kStreets);
  std::array<std::string, std::size(kBrands)> brands_ = Latin1All(kBrands);
  std::array<std::string, std::size(kVans)> van_names_ = Latin1All(kVans);
  std::array<std::string, std::size(kPartners)> partner_names_ = Latin1All(kPartners);
  std::array<std::string, std::size(kAuthorised)> authorised_ = Latin1All(kAuthorised);
  std::string scratch_;
};

}  // namespace volpgen::detail
