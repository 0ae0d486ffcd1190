// Block 0: the opening (0000, 0001, 0005), the registries of clients (0100)
// with their VANs (0105), capture devices (0200) and partners (0300), or, in a
// file of authorised institutions, the 0600; closed by the 0990.
#include <cstring>
#include <string>

#include "generator/writer.hpp"

namespace volpgen::detail {

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
    ExpectDup0100(f, c, line, offset);
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

  if (kind >= 0) Expect0100(fault, kind, line, offset, cl, doc, cep, other);
}

}  // namespace volpgen::detail
