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
