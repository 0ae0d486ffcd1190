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
#include <string>

#include "generator/writer.hpp"

namespace volpgen {
namespace detail {

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
    ExpectLfOnly(f);
  }
}

void Gen::End() {
  out_.Str(lf_only_ ? "|\n" : "|\r\n");
  ++sum_.per_type[type_];
  const char b = kCodes[type_][0];
  ++block_[b == '0' ? 0 : b == '1' ? 1 : 2];
  if (type_ == T1115) ++sum_.transactions;
}

void Gen::Name(Rng& r, std::string* out) const {
  out->assign(kinds_[r.Below(kinds_.size())]);
  out->push_back(' ');
  out->append(names_[r.Below(names_.size())]);
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

}  // namespace detail

using detail::Fault;
using detail::Gen;

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
