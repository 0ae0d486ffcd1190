#include "reports/outline.hpp"

#include <absl/container/flat_hash_map.h>

#include <string_view>
#include <tuple>

namespace volp::outline {

Outcome OutcomeOf(const Result& r) {
  if (!r.completed) return Outcome::kFailed;
  if (r.read_whole_file()) return r.errors == 0 ? Outcome::kValid : Outcome::kRejected;
  // A run that stopped early: the end-of-file checks still ran and may have
  // blamed the file for what the unread part would have held. Only an error
  // of its own condemns the part that was read.
  for (const Finding& f : r.findings)
    if (f.severity != 1 && !f.follows_stop) return Outcome::kRejected;
  return Outcome::kIncomplete;
}

const char* OutcomeName(Outcome o) {
  switch (o) {
    case Outcome::kValid:
      return "valid";
    case Outcome::kRejected:
      return "rejected";
    case Outcome::kIncomplete:
      return "incomplete";
    case Outcome::kFailed:
      break;
  }
  return "failed";
}

const char* SeverityWord(int32_t severity) {
  switch (severity) {
    case 1:
      return "Advertência";
    case 2:
    case 3:
      return "Rejeição";
  }
  return "???";
}

std::string XmlVerdict(const Result& r) {
  if (!r.completed) return {};
  std::string v =
      r.rejected_lines != 0 ? "Arquivo possui registros rejeitados" : "Arquivo validado";
  if (r.cancelled) v += " - Validação Cancelada";
  return v;
}

int64_t PerMilleRead(const Result& r) {
  if (r.file_size <= 0) return r.read_whole_file() ? 1000 : 0;
  if (r.bytes_read >= r.file_size) return 1000;
  if (r.bytes_read <= 0) return 0;
  // bytes × 1000 stays far inside 64 bits for any file a disk holds.
  return r.bytes_read * 1000 / r.file_size;
}

namespace {

bool ValidUtf8(std::string_view s) {
  for (size_t i = 0; i < s.size();) {
    const auto c = static_cast<unsigned char>(s[i]);
    if (c < 0x80) {
      ++i;
      continue;
    }
    // The sequence's length and the range of its second byte (which rules
    // out overlong forms, surrogates and code points past U+10FFFF).
    int more = 0;
    unsigned char lo = 0x80, hi = 0xBF;
    if (c >= 0xC2 && c <= 0xDF) {
      more = 1;
    } else if (c >= 0xE0 && c <= 0xEF) {
      more = 2;
      if (c == 0xE0) lo = 0xA0;
      if (c == 0xED) hi = 0x9F;
    } else if (c >= 0xF0 && c <= 0xF4) {
      more = 3;
      if (c == 0xF0) lo = 0x90;
      if (c == 0xF4) hi = 0x8F;
    } else {
      return false;
    }
    if (i + static_cast<size_t>(more) >= s.size()) return false;  // cut short
    const auto second = static_cast<unsigned char>(s[i + 1]);
    if (second < lo || second > hi) return false;
    for (int k = 2; k <= more; ++k)
      if ((static_cast<unsigned char>(s[i + static_cast<size_t>(k)]) & 0xC0) != 0x80) return false;
    i += static_cast<size_t>(more) + 1;
  }
  return true;
}

}  // namespace

std::string NameToUtf8(std::string_view name) {
  return ValidUtf8(name) ? std::string(name) : Latin1ToUtf8(name);
}

std::string IsoDate(const std::string& d) {
  if (d.size() != 8) return {};
  for (char c : d)
    if (c < '0' || c > '9') return {};
  return d.substr(0, 4) + "-" + d.substr(4, 2) + "-" + d.substr(6, 2);
}

Grouping GroupFindings(const std::vector<Finding>& findings, int examples) {
  using Key = std::tuple<std::string_view, std::string_view, int32_t, int32_t>;
  const size_t keep = examples > 0 ? static_cast<size_t>(examples) : 0;
  Grouping out;
  out.group_of.reserve(findings.size());
  absl::flat_hash_map<Key, uint32_t> index;
  for (size_t i = 0; i < findings.size(); ++i) {
    const Finding& f = findings[i];
    const auto [it, added] =
        index.try_emplace(Key{f.code, f.record_type, f.field_number, f.severity},
                          static_cast<uint32_t>(out.groups.size()));
    if (added) out.groups.push_back(Group{i, 0, 0, {}});
    Group& g = out.groups[it->second];
    ++g.count;
    if (f.follows_stop) ++g.follows_stop;
    if (g.examples.size() < keep) g.examples.push_back(i);
    out.group_of.push_back(it->second);
  }
  return out;
}

}  // namespace volp::outline
