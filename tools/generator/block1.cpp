// Block 1: the monthly groups (1100) of each client, their daily totals
// (1110), transactions (1115) and destinations (1120), and the
// cancellations of earlier periods (1200, 1220); closed by the 1990.
#include <algorithm>
#include <string>

#include "generator/writer.hpp"

namespace volpgen::detail {

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
    PartnerAndClient(cl);
    Num(comex);
    Num(ext ? 1 : 0);
    Date(dt_ini);
    Date(dt_fin);
    out_.Ch('|');
    out_.Money(expect.sum);
    Num(expect.records);
    End();
    ExpectCpfLow(cl, expect);
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
        } else if (kind == kQty1110) {
          qtd += 1;
        }
        if (kind >= 0) Expect1110(f, kind, d, expect, valor, qtd, line_1100, offset_1100);
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
    if (kind >= 0) Expect1115(f, kind, first_line, first_offset, line - 1, day_totals);
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
    PartnerAndClient(cl);
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

}  // namespace volpgen::detail
