// The declaration writer. A file is produced in one pass, record by record,
// with constant memory: everything about a client, a device or a day comes
// from a random stream seeded by (seed, index), so the totals of a monthly
// group (1100) and of a daily group (1110) are computed by replaying the
// group's streams before its records are written, instead of keeping the
// group in memory.
//
// Valid by construction means:
// - block 0 registers every client (0100), device (0200) and partner (0300)
//   that block 1 names, and every client and device is named by block 1
//   (clients of a file without movement are exempt: nothing can name them);
// - CNPJ, CPF, municipality codes and CEPs agree with their check digits and
//   their federative unit;
// - 1100 = sum of its 1110, 1110 = sum and count of its 1115;
// - clients identified by CPF reach 3.375,00 and 30 operations in the month;
// - clients outside the fiscal authority's unit have a 1120 whose
//   destination is that unit;
// - 1110 of a cash device (technology 7) carry no acquirer and their 1115
//   have NAT_OPER 5; the others carry the acquirer's CNPJ;
// - the line counts of 0990, 1990, 9900, 9990 and 9999 are those written.
#include "generator/generator.hpp"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "generator/identity.hpp"
#include "generator/rng.hpp"

namespace volpgen {
namespace {

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
const char* const kCodes[kTypes] = {"0000", "0001", "0005", "0100", "0105", "0200", "0300",
                                    "0600", "0990", "1001", "1100", "1110", "1115", "1120",
                                    "1200", "1220", "1990", "9001", "9900", "9990", "9999"};

// A daily group never holds more transactions than this, so that its total
// (at most 2.000,00 each) always fits the ten characters of the 1110 VALOR.
constexpr int64_t kMaxPerDay = 400;
// A client with CPF hit by the cpf-low fault keeps this many operations.
constexpr int64_t kLowQuota = 29;

// Texts, written in UTF-8 here and converted once to Latin-1.
const char* const kTradeKinds[] = {
    "Padaria",   "Mercearia",       "Farmácia",         "Açougue",
    "Papelaria", "Restaurante",     "Lanchonete",       "Pet Shop",
    "Ótica",     "Sorveteria",      "Oficina Mecânica", "Floricultura",
    "Livraria",  "Salão de Beleza", "Hortifrúti",       "Loja de Calçados"};
const char* const kTradeNames[] = {"São Jorge",    "Boa Esperança", "do Povo",     "Central",
                                   "Estrela",      "Irmãos Silva",  "Ipê Amarelo", "Aurora",
                                   "Bem-Te-Vi",    "Três Corações", "Vila Nova",   "Primavera",
                                   "Sol Nascente", "Santa Luzia",   "Jardim",      "Conceição"};
const char* const kFirstNames[] = {
    "Ana",       "João",    "Maria",    "José", "Antônio", "Francisca", "Luís",    "Márcia",
    "Sebastião", "Letícia", "Raimundo", "Inês", "Gonçalo", "Débora",    "Cláudio", "Fátima"};
const char* const kLastNames[] = {"Souza",     "Pereira",  "Conceição", "Araújo",
                                  "Gonçalves", "Lima",     "Ribeiro",   "Simões",
                                  "Magalhães", "Assunção", "Brandão",   "Falcão"};
const char* const kStreets[] = {
    "Rua das Flores",         "Avenida Brasil",    "Travessa São Bento", "Rua Sete de Setembro",
    "Avenida Getúlio Vargas", "Rua Tiradentes",    "Praça da Matriz",    "Rua do Comércio",
    "Alameda dos Ipês",       "Estrada da Ribeira"};
// Terminal makers and VANs are invented names.
const char* const kBrands[] = {"Maritaca", "Jandaia", "Sabiá", "Tiê", "Uirapuru", "Cardeal"};
const char* const kVans[] = {"VAN Rede Pampa", "VAN Ponte Cerrado", "VAN Trilha Norte"};
const char* const kPartners[] = {"Instituição Parceira Araucária", "Pagamentos Buriti",
                                 "Carteira Digital Mandacaru", "Subcredenciadora Ipê"};
const char* const kAuthorised[] = {"Conta Fácil Aroeira", "Pagamentos Cambuí",
                                   "Banco Digital Jatobá"};

template <size_t N>
std::array<std::string, N> Latin1All(const char* const (&texts)[N]) {
  std::array<std::string, N> out;
  for (size_t i = 0; i < N; ++i) out[i] = ToLatin1(texts[i]);
  return out;
}

std::string Format(const char* fmt, ...) {
  char buf[600];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  va_end(ap);
  return buf;
}

const char* Plural(int64_t n) { return n == 1 ? "" : "s"; }

int AddMonths(int yyyymm, int k) {
  int y = yyyymm / 100, m = yyyymm % 100 - 1 + k;
  y += m >= 0 ? m / 12 : -((11 - m) / 12);
  m = ((m % 12) + 12) % 12;
  return y * 100 + m + 1;
}

// The kinds whose effect changes the totals of their groups: they must be
// decided the same way when the totals are computed and when the records are
// written, so they take precedence over the others on the same record.
constexpr uint32_t Bit(int kind) { return 1u << kind; }
constexpr uint32_t kSumKinds = Bit(kZero1115) | Bit(kDup1115);

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

  // The count a closing record states (0990's lines of block 0, 9999's of the
  // file), one too many when its fault falls there.
  void StatedCount(const char* type, int kind, int64_t count, const char* where);

  // Faults.
  int Pick(Cursor& c, uint32_t kinds, int64_t line);
  void Expect(int fault, int64_t line, int64_t offset, const char* type, int field, int severity,
              std::string message);

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

void Gen::Setup() {
  if (o_.finalidade < 1 || o_.finalidade > 6)
    throw std::invalid_argument("--finalidade must be 1 to 6");
  fin_ = o_.finalidade;
  const int year = o_.period / 100, month = o_.period % 100;
  if (year < 2010 || year > 2099 || month < 1 || month > 12 || o_.period < 201003)
    throw std::invalid_argument("--period must be AAAAMM from 201003 on");
  uf_fisco_ = UfIndex(o_.uf_fisco);
  if (uf_fisco_ < 0) throw std::invalid_argument("--uf must be the sigla of a federative unit");
  seed_ = Mix(o_.seed, 0x564F4C50);

  if (fin_ == 3) {
    if (o_.months < 1 || o_.months > 24) throw std::invalid_argument("--months must be 1 to 24");
    const int first = AddMonths(o_.period, -(o_.months - 1));
    if (first < 201003) throw std::invalid_argument("--months reaches back before 201003");
    // A notice covers any span of days; this one starts and ends inside months.
    dt_ini_ = first * 100 + 5;
    dt_fin_ = o_.period * 100 + 25;
  } else {
    dt_ini_ = o_.period * 100 + 1;
    dt_fin_ = o_.period * 100 + DaysInMonth(year, month);
  }

  const bool movement = fin_ <= 3;
  if (movement) {
    if (o_.transactions >= 0) {
      t_ = o_.transactions;
    } else if (o_.lines >= 0) {
      // The default shape writes about 112 lines per 100 transactions.
      t_ = std::max<int64_t>(1, (o_.lines - 30) * 100 / 112);
    } else {
      t_ = 2000;
    }
    if (fin_ == 3) {
      if (o_.clients > 1) throw std::invalid_argument("finalidade 3 declares one client only");
      c_ = 1;
    } else {
      c_ = o_.clients > 0 ? o_.clients : std::clamp<int64_t>(t_ / 600, 1, 1000000);
    }
    d_ = o_.devices > 0 ? o_.devices : std::max<int64_t>(1, (c_ * 3 + 1) / 2);
    if (fin_ == 3 && o_.devices <= 0) d_ = 2;
    p_ = fin_ == 3 ? 1 : std::clamp<int64_t>(c_ / 100, 1, 200);
  } else {
    c_ = o_.clients >= 0 ? o_.clients : (o_.lines > 0 ? std::max<int64_t>(1, o_.lines - 16) : 3);
    d_ = 0;
    p_ = fin_ == 6 ? 0 : 1;
  }

  Rng r(Mix(seed_, 1));
  MakeCnpj(r, declarant_);
  acquirers_.resize(6);
  for (auto& a : acquirers_) MakeCnpj(r, a.data());
  vans_.resize(std::size(kVans));
  for (auto& v : vans_) MakeCnpj(r, v.data());
  if (movement && t_ > 0) ComputeQuotas();
  if (movement && t_ == 0) throw std::invalid_argument("--transactions must be at least 1");
}

Client Gen::MakeClient(int64_t c) const {
  Client cl;
  cl.index = c;
  Rng r(Mix(seed_, 0x100000000ll + c));
  // A fixed mix, so that even a small file has every kind of client: one in
  // five is a person (CPF), one in ten lives outside the fiscal authority's unit.
  cl.cpf = fin_ != 3 && c % 5 == 1;
  if (cl.cpf) {
    MakeCpf(r, cl.doc);
  } else {
    MakeCnpj(r, cl.doc);
  }
  cl.out_of_state = fin_ != 3 && c % 10 == 2;
  cl.uf = uf_fisco_;
  if (cl.out_of_state) cl.uf = static_cast<int>((uf_fisco_ + 1 + r.Below(kUfCount - 1)) % kUfCount);
  if (d_ >= c_) {
    cl.first_device = c;
    cl.device_step = c_;
    cl.devices = (d_ - c + c_ - 1) / c_;
  } else if (d_ > 0) {
    cl.first_device = c % d_;
    cl.device_step = 1;
    cl.devices = 1;
  }
  if (p_ > 0 && c % 4 == 3) cl.partner = static_cast<int>((c / 4) % p_);
  return cl;
}

Device Gen::MakeDevice(int64_t d) const {
  Rng r(Mix(seed_, 0x200000000ll + d));
  Device dev;
  static const int kTech[20] = {1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 4, 4, 4, 5, 6, 7, 7};
  dev.tech = kTech[r.Below(20)];
  // E-commerce runs on the institution's own terminal; cash and other
  // structures are always someone else's, and a third party's terminal is
  // declared with its maker.
  dev.term_prop = dev.tech == 4 ? 0 : dev.tech == 7 ? 1 : static_cast<int>(r.Below(2));
  dev.brand =
      dev.term_prop == 1 || r.Chance(500) ? static_cast<int>(r.Below(std::size(kBrands))) : -1;
  dev.acquirer = static_cast<int>(r.Below(6));
  return dev;
}

int64_t Gen::MinQuota(const Client& cl) const {
  if (fin_ == 3) return cl.devices * (o_.months >= 3 ? o_.months - 1 : o_.months);
  return std::max<int64_t>(cl.devices, cl.cpf ? 30 : 1);
}

void Gen::ComputeQuotas() {
  // Each client gets its minimum (a transaction per device; 30 for a
  // person) and a share of the rest by weight; the remainder of the integer
  // division goes one by one to the first clients.
  for (int64_t c = 0; c < c_; ++c) {
    min_total_ += MinQuota(MakeClient(c));
    weight_total_ += Weight(c);
  }
  if (t_ < min_total_)
    throw std::invalid_argument("--transactions " + std::to_string(t_) + " is too small for " +
                                std::to_string(c_) + " clients and " + std::to_string(d_) +
                                " devices: at least " + std::to_string(min_total_) + " needed");
  extra_ = t_ - min_total_;
  int64_t given = 0;
  for (int64_t c = 0; c < c_; ++c)
    given +=
        extra_ / weight_total_ * Weight(c) + extra_ % weight_total_ * Weight(c) / weight_total_;
  remainder_ = extra_ - given;
  // A day holds at most kMaxPerDay transactions per device.
  if (fin_ == 3) {
    const int64_t days = 28 * o_.months;
    if (t_ > d_ * days * kMaxPerDay / 2)
      throw std::invalid_argument("too many transactions per device and day: raise --devices");
    return;
  }
  const int64_t days = dt_fin_ % 100 - dt_ini_ % 100 + 1;
  for (int64_t c = 0; c < c_; ++c) {
    const Client cl = MakeClient(c);
    if (Quota(c) > cl.devices * std::min<int64_t>(days, 28) * kMaxPerDay)
      throw std::invalid_argument("too many transactions per device and day (at most " +
                                  std::to_string(kMaxPerDay) + "): raise --devices");
  }
}

int64_t Gen::Quota(int64_t c) const {
  const int64_t w = Weight(c);
  return MinQuota(MakeClient(c)) + extra_ / weight_total_ * w +
         extra_ % weight_total_ * w / weight_total_ + (c < remainder_ ? 1 : 0);
}

// ---------------------------------------------------------------- records

void Gen::StatedCount(const char* type, int kind, int64_t count, const char* where) {
  const int f = Pick(cur_, Bit(kind), line_);
  if (f >= 0) {
    Expect(f, line_, offset_, type, 2, 2,
           Format("Informou %s registros no %s mas encontrou %s registros.",
                  Milhar(count + 1).c_str(), where, Milhar(count).c_str()));
    ++count;
  }
  Num(count);
}

void Gen::Begin(int type) {
  type_ = type;
  ++line_;
  offset_ = out_.bytes();
  out_.Reserve(4096);
  out_.Ch('|');
  out_.Chars(kCodes[type], 4);
  lf_only_ = false;
  const int f = Pick(cur_, Bit(kLfOnly), line_);
  if (f >= 0) {
    lf_only_ = true;
    Expect(f, line_, offset_, "", 0, 2,
           "Encontrou o caractere LF no final do registro e faltou antes o caractere CR. Cada "
           "registro do arquivo deve terminar com CR e LF.");
  }
}

void Gen::End() {
  out_.Str(lf_only_ ? "|\n" : "|\r\n");
  ++sum_.per_type[type_];
  const char b = kCodes[type_][0];
  ++block_[b == '0' ? 0 : b == '1' ? 1 : 2];
  if (type_ == T1115) ++sum_.transactions;
}

int Gen::Pick(Cursor& c, uint32_t kinds, int64_t line) {
  if (faults_.empty() && !counting_) return -1;
  int64_t index[kFaultKindCount];
  for (int k = 0; k < kFaultKindCount; ++k)
    if (kinds & Bit(k)) index[k] = c.opp[k]++;
  if (counting_) return -1;
  // Kinds that change totals first (see kSumKinds), then the others.
  for (int pass = 0; pass < 2; ++pass) {
    for (size_t i = 0; i < faults_.size(); ++i) {
      const Fault& f = faults_[i];
      const int k = f.request.kind;
      if (!(kinds & Bit(k)) || (c.fired >> i & 1)) continue;
      if (((kSumKinds & Bit(k)) != 0) != (pass == 0)) continue;
      const bool due = f.request.line > 0 ? line >= f.request.line : index[k] >= f.target;
      if (f.request.line == 0 && f.target < 0) continue;
      if (!due) continue;
      c.fired |= uint64_t{1} << i;
      return static_cast<int>(i);
    }
  }
  return -1;
}

void Gen::Expect(int fault, int64_t line, int64_t offset, const char* type, int field, int severity,
                 std::string message) {
  Fault& f = faults_[static_cast<size_t>(fault)];
  if (f.applied < 0) {
    f.applied = static_cast<int>(sum_.faults.size());
    AppliedFault a;
    a.kind = f.request.kind;
    a.requested_line = f.request.line;
    a.line = line;
    sum_.faults.push_back(std::move(a));
  }
  ExpectedFinding e;
  e.line = line;
  e.offset = offset;
  e.record_type = type;
  e.field = field;
  e.severity = severity;
  e.message = std::move(message);
  sum_.faults[static_cast<size_t>(f.applied)].findings.push_back(std::move(e));
}

void Gen::Name(Rng& r, std::string* out) const {
  out->assign(kinds_[r.Below(kinds_.size())]);
  out->push_back(' ');
  out->append(names_[r.Below(names_.size())]);
}

// ---------------------------------------------------------------- block 0

void Gen::Block0() {
  Rng r(Mix(seed_, 2));
  Begin(T0000);
  Field("07");
  Num(fin_);
  Field(kUfs[uf_fisco_].sigla);
  Digits(declarant_, 14);
  Field(ToLatin1("Pagamentos Jacarandá S.A."));
  Date(dt_ini_);
  Date(dt_fin_);
  Field("1");
  out_.Ch('|');
  out_.Pad(static_cast<uint64_t>(dt_fin_ / 100), 6);  // MES_VAL: the last month declared
  End();

  Begin(T0001);
  Field("1");
  End();

  const auto muns = MunicipiosOf(uf_fisco_);
  const Municipio& mun = muns[r.Below(muns.size())];
  Begin(T0005);
  Field(ToLatin1("Jacarandá Pag"));
  Street(r);
  Cep(CepIn(r, uf_fisco_));
  Num(mun.code);
  Field(kUfs[uf_fisco_].sigla);
  Person(r);
  Phone(r);
  Field("fiscal@jacaranda-pag.com.br");
  End();

  if (fin_ == 6) {
    // Institutions authorised by the declarant, instead of registries.
    for (int64_t a = 0; a < c_; ++a) {
      Rng ar(Mix(seed_, 0x600000000ll + a));
      char cnpj[14];
      MakeCnpj(ar, cnpj);
      const int uf = static_cast<int>(ar.Below(kUfCount));
      const auto ms = MunicipiosOf(uf);
      Begin(T0600);
      Num(1 + static_cast<int64_t>(ar.Below(2)));
      Digits(cnpj, 14);
      Num(static_cast<int64_t>(ar.Below(2)));
      Field(authorised_[static_cast<size_t>(a) % authorised_.size()]);
      out_.Ch(' ');
      out_.U(static_cast<uint64_t>(a + 1));
      Street(ar);
      Cep(CepIn(ar, uf));
      Num(ms[ar.Below(ms.size())].code);
      Field(kUfs[uf].sigla);
      Person(ar);
      Phone(ar);
      out_.Str("|habilitacao");
      out_.U(static_cast<uint64_t>(a + 1));
      out_.Str("@autorizada.com.br");
      const int start = (2015 + static_cast<int>(ar.Below(5))) * 10000 + 301;
      Date(start);
      if (ar.Chance(300)) {
        Date(start + 70000);  // seven years later, possibly still to come
      } else {
        Sep();
      }
      End();
    }
  } else {
    for (int64_t c = 0; c < c_; ++c) Client0100(c);
    for (int64_t d = 0; d < d_; ++d) {
      const Device dev = MakeDevice(d);
      Begin(T0200);
      out_.Str("|MC");
      out_.Pad(static_cast<uint64_t>(d), 8);
      out_.Str("|NL");
      out_.Pad(static_cast<uint64_t>(Mix(seed_, 0x300000000ll + d) % 1000000), 6);
      out_.Pad(static_cast<uint64_t>(d), 8);  // unique: one terminal, one code
      Num(dev.tech);
      Num(dev.term_prop);
      if (dev.brand >= 0) {
        Field(brands_[static_cast<size_t>(dev.brand)]);
      } else {
        Sep();
      }
      End();
    }
    for (int64_t p = 0; p < p_; ++p) {
      Rng pr(Mix(seed_, 0x400000000ll + p));
      char cnpj[14];
      MakeCnpj(pr, cnpj);
      const int uf = pr.Chance(700) ? uf_fisco_ : static_cast<int>(pr.Below(kUfCount));
      const auto ms = MunicipiosOf(uf);
      Begin(T0300);
      out_.Str("|PAR");
      out_.Pad(static_cast<uint64_t>(p), 4);
      Digits(cnpj, 14);
      Field(partner_names_[static_cast<size_t>(p) % partner_names_.size()]);
      Street(pr);
      Cep(CepIn(pr, uf));
      Num(ms[pr.Below(ms.size())].code);
      Field(kUfs[uf].sigla);
      if (pr.Chance(500)) {
        Person(pr);
        Phone(pr);
        out_.Str("|parcerias@par");
        out_.Pad(static_cast<uint64_t>(p), 4);
        out_.Str(".com.br");
      } else {
        Sep();
        Sep();
        Sep();
      }
      End();
    }
  }

  Begin(T0990);
  StatedCount("0990", kQtd0990, block_[0] + 1, "Bloco 0");
  End();
}

void Gen::Client0100(int64_t c) {
  const Client cl = MakeClient(c);
  Rng r(Mix(seed_, 0x500000000ll + c));
  uint32_t kinds = Bit(kBadDate) | Bit(kCepUf) | Bit(kNonLatin1);
  kinds |= cl.cpf ? Bit(kCpfDigit) : Bit(kCnpjDigit);
  if (cl.cpf && fin_ <= 2 && cl.devices <= kLowQuota) kinds |= Bit(kCpfLow);
  if (fin_ != 3) kinds |= Bit(kDup0100);
  const int64_t line = line_ + 1;
  const int64_t offset = out_.bytes();
  const int f = Pick(cur_, kinds, line);
  const int kind = f >= 0 ? faults_[static_cast<size_t>(f)].request.kind : -1;
  const bool dup = kind == kDup0100;
  if (kind == kCpfLow) low_.emplace_back(c, f);
  Write0100(cl, r, dup || kind == kCpfLow ? -1 : f);
  if (dup) {
    Rng again(Mix(seed_, 0x500000000ll + c));
    Write0100(cl, again, -1);
    char code[32];
    std::snprintf(code, sizeof code, "CLI%08lld", static_cast<long long>(c));
    Expect(f, line_, offset_, "0100", 2, 2,
           Format("Esse Código de Cliente '%s' já foi encontrado na linha %s e posição %s no "
                  "arquivo.",
                  code, Milhar(line).c_str(), Milhar(offset).c_str()));
  }

  // The VANs that carry the client's transactions.
  if (c % 5 == 0) {
    const int vans = c % 10 == 0 ? 2 : 1;
    for (int v = 0; v < vans; ++v) {
      const size_t which = static_cast<size_t>(c / 5 + v) % vans_.size();
      Begin(T0105);
      Digits(vans_[which].data(), 14);
      Field(van_names_[which]);
      Num(static_cast<int64_t>(1 + r.Below(5000)));
      End();
    }
  }
}

void Gen::Write0100(const Client& cl, Rng& r, int fault) {
  const int kind = fault >= 0 ? faults_[static_cast<size_t>(fault)].request.kind : -1;
  Begin(T0100);
  const int64_t line = line_, offset = offset_;
  out_.Str("|CLI");
  out_.Pad(static_cast<uint64_t>(cl.index), 8);
  const int doc_len = cl.cpf ? 11 : 14;
  char doc[14];
  std::memcpy(doc, cl.doc, 14);
  // A wrong first check digit: the second is then never looked at.
  if (kind == kCnpjDigit || kind == kCpfDigit)
    doc[doc_len - 2] = static_cast<char>('0' + (doc[doc_len - 2] - '0' + 1) % 10);
  if (cl.cpf) {
    Sep();
    Digits(doc, 11);
  } else {
    Digits(doc, 14);
    Sep();
  }
  std::string name;
  Name(r, &name);
  Field(name);
  if (kind == kNonLatin1) out_.Str("\xE2\x80\x93 Centro");  // an en dash in UTF-8
  Street(r);
  const auto muns = MunicipiosOf(cl.uf);
  const Municipio& mun = muns[r.Below(muns.size())];
  int cep = CepIn(r, cl.uf);
  int other = -1;
  if (kind == kCepUf) {
    other = (cl.uf + 1 + static_cast<int>(Mix(seed_, cl.index) % (kUfCount - 1))) % kUfCount;
    cep = kUfs[other].low1 * 1000 + 123;
  }
  Cep(cep);
  Num(mun.code);
  Field(kUfs[cl.uf].sigla);
  const bool contact = r.Chance(600);
  if (contact) {
    Person(r);
    Phone(r);
    out_.Str("|contato@cli");
    out_.Pad(static_cast<uint64_t>(cl.index), 8);
    out_.Str(".com.br");
  } else {
    Sep();
    Sep();
    Sep();
  }
  int year = 2005 + static_cast<int>(r.Below(15));
  int creden =
      year * 10000 + (1 + static_cast<int>(r.Below(12))) * 100 + 1 + static_cast<int>(r.Below(28));
  if (kind == kBadDate) creden = year * 10000 + 230;
  Date(creden);
  if (r.Chance(500)) {
    Num(static_cast<int64_t>(r.Below(2)));
  } else {
    Sep();
  }
  End();

  if (kind < 0) return;
  char cep_text[16];
  std::snprintf(cep_text, sizeof cep_text, "%08d", cep);
  switch (kind) {
    case kCnpjDigit:
    case kCpfDigit: {
      const int at = doc_len - 2;
      const int wrong = doc[at] - '0';
      const int right = cl.doc[at] - '0';
      const int field = cl.cpf ? 4 : 3;
      Expect(fault, line, offset, "0100", field, 2,
             Format("O dígito verificador 1 não confere! Tem valor %d mas deveria ter %d.", wrong,
                    right));
      const std::string text(doc, static_cast<size_t>(doc_len));
      Expect(fault, line, offset, "0100", field, 2,
             cl.cpf ? Format("Campo 04 - 'CPF do Beneficiário ou Importador' contém CPF '%s' "
                             "inválido.",
                             text.c_str())
                    : Format("Campo 03 - 'CNPJ do Estabelecimento ou Importador' contém CNPJ "
                             "'%s' inválido.",
                             text.c_str()));
      break;
    }
    case kBadDate:
      Expect(fault, line, offset, "0100", 13, 2,
             "Campo 13 - 'DT_CREDEN - Data do credenciamento do Beneficiário' contém data "
             "inválida.");
      break;
    case kCepUf:
      Expect(fault, line, offset, "0100", 7, 2,
             Format("O campo 07 - 'CEP do estabelecimento ou usuário' contém '%s' que pertence a "
                    "UF '%s' e não pertence a UF '%s' informado no campo 09 do registro 0100.",
                    cep_text, kUfs[other].sigla, kUfs[cl.uf].sigla));
      break;
    case kNonLatin1:
      Expect(fault, line, offset, "0100", 5, 2,
             "Campo 05 - 'N_FANT - Nome fantasia ou do usuário' contém 2 caracteres inválidos "
             "não representável na codificação ASC-II - ISO 8859-1 (Latin-1).");
      break;
    default:
      break;
  }
}

// ---------------------------------------------------------------- block 1

void Gen::Block1() {
  const bool movement = fin_ <= 3;
  Begin(T1001);
  Num(movement ? 1 : 0);
  End();
  if (movement) {
    for (int64_t c = 0; c < c_; ++c) Groups(MakeClient(c));
    if (fin_ == 1) Cancellations();
  }
  Begin(T1990);
  Num(block_[1] + 1);
  End();
}

void Gen::Groups(const Client& cl) {
  int64_t q = Quota(cl.index);
  for (const auto& [client, fault] : low_)
    if (client == cl.index) q = std::min(q, kLowQuota);
  const int comex = cl.index % 10 == 3 ? 1 : 0;
  auto one = [&](int64_t n, int ini, int fin, bool ext) {
    Group(kWrite, cur_, cl, n, ini, fin, ext, comex, line_ + 1);
  };
  if (fin_ == 3) {
    // One 1100 per month of the notice; with three months or more the
    // second is a month without operations (VALOR 0,00, QTD 0, no 1110).
    const int first = dt_ini_ / 100;
    const int months = o_.months;
    int64_t days_total = 0;
    auto days_of = [&](int m) {
      const int ym = AddMonths(first, m);
      const int lo = m == 0 ? dt_ini_ % 100 : 1;
      const int hi = m == months - 1 ? dt_fin_ % 100 : DaysInMonth(ym / 100, ym % 100);
      return std::pair<int, int>(lo, hi);
    };
    auto zero = [&](int m) { return months >= 3 && m == 1; };
    for (int m = 0; m < months; ++m)
      if (!zero(m)) days_total += days_of(m).second - days_of(m).first + 1;
    const int64_t base = cl.devices * (months >= 3 ? months - 1 : months);
    const int64_t spread = q - base;
    int64_t given = 0;
    int last_nonzero = months - 1;
    for (int m = 0; m < months; ++m) {
      const auto [lo, hi] = days_of(m);
      const int ym = AddMonths(first, m);
      int64_t n = 0;
      if (!zero(m)) {
        n = cl.devices + (m == last_nonzero ? spread - given : spread * (hi - lo + 1) / days_total);
        given += n - cl.devices;
      }
      one(n, ym * 100 + lo, ym * 100 + hi, false);
    }
    return;
  }
  // Extemporaneous information: a few companies also declare, late, the
  // month before the period (never in a rectifying file).
  const bool ext = fin_ == 1 && !cl.cpf && cl.index % 10 == 0 && q >= 4 * cl.devices;
  const int64_t q_ext = ext ? std::max<int64_t>(cl.devices, q / 10) : 0;
  one(q - q_ext, dt_ini_, dt_fin_, false);
  if (ext) {
    const int prev = AddMonths(dt_ini_ / 100, -1);
    one(q_ext, prev * 100 + 1, prev * 100 + DaysInMonth(prev / 100, prev % 100), true);
  }
}

Totals Gen::Group(Mode mode, Cursor& c, const Client& cl, int64_t q, int dt_ini, int dt_fin,
                  bool ext, int comex, int64_t line) {
  Totals total;
  Totals expect;  // the group's totals, computed first when writing
  int64_t line_1100 = line, offset_1100 = 0;
  if (mode == kWrite) {
    Cursor copy = c;
    expect = Group(kSum, copy, cl, q, dt_ini, dt_fin, ext, comex, line);
    Begin(T1100);
    offset_1100 = offset_;
    if (cl.partner >= 0) {
      out_.Str("|PAR");
      out_.Pad(static_cast<uint64_t>(cl.partner), 4);
    } else {
      Sep();
    }
    out_.Str("|CLI");
    out_.Pad(static_cast<uint64_t>(cl.index), 8);
    Num(comex);
    Num(ext ? 1 : 0);
    Date(dt_ini);
    Date(dt_fin);
    out_.Ch('|');
    out_.Money(expect.sum);
    Num(expect.records);
    End();
    for (const auto& [client, fault] : low_) {
      if (client != cl.index) continue;
      // The monthly check of people declared by CPF asks to remove the 1100.
      std::string valor, qtd;
      if (expect.sum < 337500)
        valor = Format(" O valor total mensal é %s inferior a 3375,00.", Moeda(expect.sum).c_str());
      if (expect.records < 30)
        qtd = Format(" A quantidade total mensal é %s inferior a 30.",
                     Milhar(expect.records).c_str());
      // Another fault may have added a transaction that lifts the client
      // to both minimums: then nothing is to be removed, and the fault
      // stays unplaced.
      if (valor.empty() && qtd.empty()) continue;
      Expect(fault, line_, offset_, "1100", 3, 2,
             Format("Deve ser removido esse registro 1100 e seus registros descendentes referente "
                    "ao CPF %.11s. Motivo:%s%s",
                    cl.doc, valor.c_str(), qtd.c_str()));
    }
  }
  int64_t ln = line + 1;
  const uint64_t gseed =
      Mix(seed_, static_cast<uint64_t>(cl.index) * 1000003u + static_cast<uint64_t>(dt_ini));
  Rng r(gseed);
  const int first_day = dt_ini % 100, last_day = dt_fin % 100;
  const int64_t nd = last_day - first_day + 1;
  const int64_t k = cl.devices;
  if (q == 0) return total;
  // Every device gets at least one transaction; the rest is spread around
  // the even share, within what the days can hold.
  int64_t rest = q - k;
  for (int64_t j = 0; j < k; ++j) {
    const int64_t left = k - j;
    const int64_t cap = nd * kMaxPerDay - 1;
    int64_t extra = rest;
    if (left > 1) {
      const int64_t even = rest / left;
      extra = even / 2 + static_cast<int64_t>(r.Below(static_cast<uint64_t>(even + 1)));
      extra = std::clamp<int64_t>(extra, std::max<int64_t>(0, rest - (left - 1) * cap),
                                  std::min(rest, cap));
    }
    rest -= extra;
    int64_t n_dev = 1 + extra;
    const int64_t device = cl.first_device + j * cl.device_step;
    const Device dev = MakeDevice(device);
    for (int64_t day = 0; day < nd; ++day) {
      const int64_t days_left = nd - day;
      int64_t n = n_dev;
      if (days_left > 1) {
        const int64_t even = n_dev / days_left;
        n = even / 2 + static_cast<int64_t>(r.Below(static_cast<uint64_t>(even + 1)));
        if (n == 0 && r.Chance(300)) n = 1;
        n = std::clamp<int64_t>(n, std::max<int64_t>(0, n_dev - (days_left - 1) * kMaxPerDay),
                                std::min(n_dev, kMaxPerDay));
      }
      n_dev -= n;
      if (n == 0) continue;
      const int date = (dt_ini / 100) * 100 + first_day + static_cast<int>(day);
      const bool force_1120 = cl.out_of_state && total.groups == 0 && !ext;
      const uint64_t dseed = Mix(gseed, static_cast<uint64_t>(j) * 64 + static_cast<uint64_t>(day));
      if (mode == kSum) {
        const Totals d = Day(kSum, c, cl, dev, n, dseed, force_1120, ln, nullptr);
        total.sum += d.sum;
        total.records += d.records;
        total.groups += 1;
        ln += d.lines;
      } else {
        Cursor copy = c;
        const Totals d = Day(kSum, copy, cl, dev, n, dseed, force_1120, ln, nullptr);
        // The 1110, with its two write-only faults.
        Begin(T1110);
        int64_t valor = d.sum, qtd = d.records;
        const int f = Pick(c, Bit(kSum1110) | Bit(kQty1110), line_);
        const int kind = f >= 0 ? faults_[static_cast<size_t>(f)].request.kind : -1;
        if (kind == kSum1110) {
          valor += 1;
          Expect(f, line_, offset_, "1110", 4, 2,
                 Format("Registro 1110 com VALOR '%s' que não confere com o somatório VALOR '%s' "
                        "de %s registro%s 1115.",
                        Moeda(valor).c_str(), Moeda(d.sum).c_str(), Milhar(d.records).c_str(),
                        Plural(d.records)));
          Expect(f, line_1100, offset_1100, "1100", 8, 2,
                 Format("Registro 1100 com VALOR '%s' que não confere com o somatório VALOR '%s' "
                        "de %s registro%s 1110.",
                        Moeda(expect.sum).c_str(), Moeda(expect.sum + 1).c_str(),
                        Milhar(expect.groups).c_str(), Plural(expect.groups)));
        } else if (kind == kQty1110) {
          qtd += 1;
          Expect(f, line_, offset_, "1110", 5, 2,
                 Format("Registro 1110 com QTD '%s' que não confere com %s registro%s 1115.",
                        Milhar(qtd).c_str(), Milhar(d.records).c_str(), Plural(d.records)));
          Expect(f, line_1100, offset_1100, "1100", 9, 2,
                 Format("Registro 1100 com QTD '%s' que não confere com o somatório QTD '%s' de "
                        "%s registro%s 1110.",
                        Milhar(expect.records).c_str(), Milhar(expect.records + 1).c_str(),
                        Milhar(expect.groups).c_str(), Plural(expect.groups)));
        }
        out_.Str("|MC");
        out_.Pad(static_cast<uint64_t>(device), 8);
        Date(date);
        out_.Ch('|');
        out_.Money(valor);
        Num(qtd);
        if (dev.tech == 7) {
          Sep();  // cash: no acquirer authorised it
        } else {
          Digits(acquirers_[static_cast<size_t>(dev.acquirer)].data(), 14);
        }
        End();
        offset_1110_ = offset_;
        const Totals w = Day(kWrite, c, cl, dev, n, dseed, force_1120, ln + 1, &d);
        total.sum += w.sum;
        total.records += w.records;
        total.groups += 1;
        ln += d.lines;
      }
    }
  }
  return total;
}

// One daily group: in kSum mode the 1110 line itself is counted, and the
// totals of its 1115 are returned; in kWrite mode the 1115 and 1120 records
// are written (the 1110 has been written by the caller).
Totals Gen::Day(Mode mode, Cursor& c, const Client& cl, const Device& dev, int64_t n, uint64_t seed,
                bool force_1120, int64_t line, const Totals* day_totals) {
  Totals t;
  int64_t ln = mode == kSum ? line + 1 : line;  // the first 1115
  Rng s(seed);                                  // structure and amounts: replayed in both modes
  Rng d(seed ^ 0x5DEECE66Dull);                 // details: drawn only when writing
  int64_t split_rest = -1;                      // second half of a split payment
  int64_t pair_nsu = 0;
  char aut[6] = {};
  char id[32] = {};
  int tick = 0;
  for (int64_t i = 0; i < n; ++i) {
    int64_t amount;
    bool split = false;
    if (split_rest >= 0) {
      amount = split_rest;
      split_rest = -1;
      split = true;
    } else {
      amount = 500;
      {
        const uint64_t x = s.Next();
        const uint64_t k = x % 100, y = x >> 8;
        if (k < 60) {
          amount = 500 + static_cast<int64_t>(y % 9500);
        } else if (k < 92) {
          amount = 10000 + static_cast<int64_t>(y % 40000);
        } else {
          amount = 50000 + static_cast<int64_t>(y % 150001);
        }
        // People declared by CPF buy at least 120,00 at a time, so that
        // 30 operations always pass the monthly minimum of 3.375,00.
        if (cl.cpf && amount < 12000) amount = 12000 + static_cast<int64_t>((y >> 20) % 8000);
      }
      if (!cl.cpf && i + 1 < n && s.Chance(10)) {
        const int64_t part = 1 + static_cast<int64_t>(s.Below(static_cast<uint64_t>(amount - 1)));
        split_rest = amount - part;
        amount = part;
        split = true;
      }
    }
    const bool with_1120 = (force_1120 && i == 0) || s.Chance(30);

    uint32_t kinds = Bit(kSum1115) | Bit(kBandeira);
    if (!split) kinds |= Bit(kDup1115);
    if (!split && n >= 2 && fin_ != 3) kinds |= Bit(kZero1115);
    if (dev.tech != 7) kinds |= Bit(kNatOper);
    const int f = Pick(c, mode == kSum ? (kinds & kSumKinds) : kinds, ln);
    const int kind = f >= 0 ? faults_[static_cast<size_t>(f)].request.kind : -1;
    const int64_t counted = kind == kZero1115 ? 0 : amount;
    const int copies = kind == kDup1115 ? 2 : 1;
    t.sum += counted * copies;
    t.records += copies;
    ln += copies + (with_1120 ? 1 : 0);
    if (mode == kSum) continue;

    // Details of the transaction.
    const bool pair_second = split && split_rest < 0 && pair_nsu != 0;
    int64_t nsu;
    if (pair_second) {
      nsu = pair_nsu;
      pair_nsu = 0;
    } else {
      nsu = ++nsu_;
      for (char& a : aut) a = "0123456789ABCDEFGHJKLMNPQRSTUVWXYZ"[d.Below(34)];
      if (split) pair_nsu = nsu;
      tick = 25200 + static_cast<int>((i * 50400) / n + static_cast<int64_t>(d.Below(
                                                            static_cast<uint64_t>(50400 / n + 1))));
      if (tick > 86399) tick = 86399;
    }
    int bandeira = 1;
    {
      const uint64_t b = d.Below(100);
      bandeira = b < 40   ? 1
                 : b < 70 ? 2
                 : b < 80 ? 3
                 : b < 88 ? 4
                 : b < 93 ? 5
                 : b < 98 ? 6 + static_cast<int>(d.Below(30))
                 : b < 99 ? 98
                          : 99;
    }
    static const int kNat[12] = {1, 1, 1, 1, 2, 2, 3, 4, 6, 7, 10, 11};
    int nat = dev.tech == 7 ? 5 : kNat[d.Below(12)];
    const bool geo = d.Chance(400);
    if (!pair_second) {
      // The payment's own identification, 128 bits in hexadecimal.
      for (int h = 0; h < 2; ++h) {
        uint64_t x = d.Next();
        for (int q = 0; q < 16; ++q, x >>= 4) id[h * 16 + q] = "0123456789abcdef"[x & 15];
      }
    }
    const int64_t first_line = line_ + 1;
    int64_t first_offset = 0;
    for (int copy = 0; copy < copies; ++copy) {
      Begin(T1115);
      if (copy == 0) first_offset = offset_;
      if (dev.tech == 7) {
        Sep();  // cash has no NSU: the transaction is identified instead
      } else {
        out_.Ch('|');
        out_.Pad(static_cast<uint64_t>(nsu), 12);
      }
      out_.Ch('|');
      out_.Chars(aut, 6);
      if (dev.tech == 4 || dev.tech == 7) {
        out_.Str(dev.tech == 4 ? "|EC" : "|DIN");
        out_.Pad(static_cast<uint64_t>(nsu), 12);
      } else {
        out_.Ch('|');
        out_.Chars(id, 32);
      }
      Num(split ? 1 : 0);
      if (kind == kBandeira) {
        Field("36");
      } else {
        Num(bandeira);
      }
      out_.Ch('|');
      out_.Pad(static_cast<uint64_t>(tick / 3600), 2);
      out_.Pad(static_cast<uint64_t>(tick / 60 % 60), 2);
      out_.Pad(static_cast<uint64_t>(tick % 60), 2);
      out_.Ch('|');
      out_.Money(kind == kZero1115 ? 0 : kind == kSum1115 ? amount + 1 : amount);
      if (kind == kNatOper) {
        Field("9");
      } else {
        Num(nat);
      }
      if (geo) {
        out_.Str("|-23.");
        out_.Pad(d.Below(1000000), 6);
        out_.Str(",-46.");
        out_.Pad(d.Below(1000000), 6);
      } else {
        Sep();
      }
      End();
    }
    switch (kind) {
      case kDup1115:
        Expect(f, first_line + 1, offset_, "1115", 0, 2,
               Format("Esse registro já foi encontrado na linha %s e posição %s no arquivo.",
                      Milhar(first_line).c_str(), Milhar(first_offset).c_str()));
        break;
      case kZero1115:
        Expect(f, first_line, first_offset, "1115", 8, 2,
               "No campo 08 - 'Valor da operação' o valor é 0,00!");
        break;
      case kSum1115: {
        const int64_t sum = day_totals->sum;
        Expect(f, line - 1, offset_1110_, "1110", 4, 2,
               Format("Registro 1110 com VALOR '%s' que não confere com o somatório VALOR '%s' de "
                      "%s registro%s 1115.",
                      Moeda(sum).c_str(), Moeda(sum + 1).c_str(),
                      Milhar(day_totals->records).c_str(), Plural(day_totals->records)));
        break;
      }
      case kNatOper:
        Expect(f, first_line, first_offset, "1115", 9, 2,
               "No campo 09 - 'NAT_OPER - Natureza da operação' o valor pode ser 1 a 8, ou 10 "
               "ou 11 e não: 9.");
        break;
      case kBandeira:
        Expect(f, first_line, first_offset, "1115", 6, 1,
               "No campo BANDEIRA a bandeira pode ter valor 1 a 35 ou 99 e não: '36'.");
        break;
      default:
        break;
    }
    if (with_1120) Write1120(cl, d, cl.out_of_state || force_1120);
  }
  if (mode == kSum) t.lines = ln - line;
  return t;
}

void Gen::Write1120(const Client& cl, Rng& r, bool to_fisco) {
  Begin(T1120);
  // A client outside the fiscal authority's unit must send its goods there;
  // a client inside it may send them anywhere.
  const int uf = to_fisco || r.Chance(500) ? uf_fisco_ : static_cast<int>(r.Below(kUfCount));
  Field(kUfs[uf].sigla);
  if (r.Chance(400)) {
    char key[44];
    MakeAccessKey(r, kUfs[cl.uf].ibge, (dt_ini_ / 100) % 10000, declarant_, key);
    Digits(key, 44);
  } else {
    Sep();
  }
  const uint64_t who = r.Below(100);
  char doc[14];
  if (who < 35) {
    MakeCnpj(r, doc);
    Digits(doc, 14);
    Sep();
    Sep();
  } else if (who < 85) {
    MakeCpf(r, doc);
    Sep();
    Digits(doc, 11);
    Sep();
  } else {
    Sep();
    Sep();
    out_.Str("|Consumidor ");
    out_.U(r.Below(100000));
  }
  Sep();  // CHAVE_NFSE
  Sep();  // CHAVE_DCE
  if (r.Chance(300)) {
    Field(kUfs[cl.uf].sigla);
    if (!cl.cpf) {
      Digits(cl.doc, 14);
    } else {
      Sep();
    }
  } else {
    Sep();
    Sep();
  }
  End();
}

void Gen::Cancellations() {
  // Cancellations of transactions of earlier periods, declared in a normal
  // file only: total cancellations (VL_CANC = VL_ORIG) of a day of the
  // month before the period, cancelled inside the period.
  const int64_t count = std::min<int64_t>(1 + t_ / 5000, 10000);
  const int prev = AddMonths(dt_ini_ / 100, -1);
  for (int64_t k = 0; k < count; ++k) {
    Rng r(Mix(seed_, 0x700000000ll + k));
    const Client cl = MakeClient((k * 7919) % c_);
    Begin(T1200);
    if (cl.partner >= 0) {
      out_.Str("|PAR");
      out_.Pad(static_cast<uint64_t>(cl.partner), 4);
    } else {
      Sep();
    }
    out_.Str("|CLI");
    out_.Pad(static_cast<uint64_t>(cl.index), 8);
    out_.Str("|MC");
    out_.Pad(static_cast<uint64_t>(cl.first_device), 8);
    out_.Str("|9");
    out_.Pad(static_cast<uint64_t>(k), 11);
    out_.Str("|C");
    out_.Pad(r.Below(100000), 5);
    Sep();
    Date(prev * 100 + 1 +
         static_cast<int>(r.Below(static_cast<uint64_t>(DaysInMonth(prev / 100, prev % 100)))));
    Date(dt_ini_ + static_cast<int>(r.Below(static_cast<uint64_t>(dt_fin_ - dt_ini_ + 1))));
    Num(static_cast<int64_t>(r.Below(3)));
    const int64_t value = 1000 + static_cast<int64_t>(r.Below(100000));
    out_.Ch('|');
    out_.Money(value);
    out_.Ch('|');
    out_.Money(value);
    End();
    if (r.Chance(400)) {
      // Destination of the cancelled sale: the fiscal authority's unit.
      Begin(T1220);
      Field(kUfs[uf_fisco_].sigla);
      Sep();
      char cpf[11];
      MakeCpf(r, cpf);
      Sep();
      Digits(cpf, 11);
      Sep();
      End();
    }
  }
}

// ---------------------------------------------------------------- block 9

void Gen::Block9() {
  Begin(T9001);
  Field("1");
  End();
  // Decide first which 9900 are left out, so that the 9900 of 9900 can
  // state how many there are.
  int present[kTypes];
  int n = 0;
  for (int t = 0; t < kTypes; ++t)
    if (sum_.per_type[t] > 0 || t == T9900 || t == T9990 || t == T9999) present[n++] = t;
  bool drop[kTypes] = {};
  int dropped_fault[kTypes];
  int64_t ln = line_ + 1;
  int written = 0;
  for (int i = 0; i < n; ++i) {
    const int f = Pick(cur_, Bit(kMissing9900), ln);
    if (f >= 0) {
      drop[present[i]] = true;
      dropped_fault[present[i]] = f;
    } else {
      ++ln;
      ++written;
    }
  }
  int last = -1;
  for (int i = 0; i < n; ++i)
    if (!drop[present[i]]) last = present[i];
  const int order = Pick(cur_, Bit(kOrder), ln - 1);
  auto write9900 = [&](int t) {
    Begin(T9900);
    Field(kCodes[t]);
    int64_t count = sum_.per_type[t];
    if (t == T9900) count = written;
    if (t == T9990 || t == T9999) count = 1;
    Num(count);
    End();
  };
  for (int i = 0; i < n; ++i) {
    const int t = present[i];
    if (drop[t] || (order >= 0 && t == last)) continue;
    write9900(t);
  }
  const int64_t block9 = block_[2] + (order >= 0 ? 1 : 0) + 2;  // with the 9990 and the 9999
  Begin(T9990);
  Num(block9);
  End();
  if (order >= 0) {
    write9900(last);
    Expect(order, line_, offset_, "9900", 0, 2,
           Format("Deveria ter o registro 9999 e não o %s.", "9900"));
  }
  Begin(T9999);
  StatedCount("9999", kQtd9999, line_, "arquivo digital");
  End();
  // Findings of the end check, at the 9999.
  for (int t = 0; t < kTypes; ++t)
    if (drop[t])
      Expect(dropped_fault[t], line_, offset_, "9900", 0, 2,
             Format("Não encontrou o registro 9900 correspondente ao registro %s.", kCodes[t]));
  if (order >= 0)
    Expect(order, line_, offset_, "9900", 0, 2,
           Format("Não encontrou o registro 9900 correspondente ao registro %s.", kCodes[last]));
}

Summary Gen::Run() {
  Block0();
  Block1();
  Block9();
  out_.Flush();
  sum_.lines = line_;
  sum_.bytes = out_.bytes();
  return sum_;
}

}  // namespace

Summary Generate(const Options& options, Sink& sink) {
  std::vector<Fault> faults;
  for (const FaultRequest& s : options.faults) {
    if (s.kind < 0 || s.kind >= kFaultKindCount) throw std::invalid_argument("unknown fault kind");
    faults.push_back(Fault{s, -1, -1});
  }
  if (faults.size() > 64) throw std::invalid_argument("at most 64 faults");
  // Random faults need to know how many records could take them: a dry run
  // counts the opportunities, then each random fault picks one.
  bool random = false;
  for (const Fault& f : faults) random = random || f.request.line == 0;
  if (random) {
    NullSink null;
    Gen dry(options, &null, true, &faults);
    dry.Run();
    Rng r(Mix(options.seed, 0xFA017));
    for (Fault& f : faults) {
      if (f.request.line != 0) continue;
      const int64_t n = dry.cursor().opp[f.request.kind];
      if (n > 0) f.target = static_cast<int64_t>(r.Below(static_cast<uint64_t>(n)));
    }
  }
  Gen gen(options, &sink, false, &faults);
  Summary s = gen.Run();
  for (const Fault& f : faults)
    if (f.applied < 0) s.unplaced.push_back(f.request);
  return s;
}

}  // namespace volpgen
