#include "cli_outputs.hpp"

#include <algorithm>
#include <set>
#include <utility>

namespace volp::cli {

namespace {

struct Keyed {
  FileKey key;
  const PlannedPath* path;
};

std::string Join(const std::vector<const PlannedPath*>& group) {
  std::string text;
  for (size_t i = 0; i < group.size(); ++i) {
    if (i > 0) text += i + 1 == group.size() ? " and " : ", ";
    text += group[i]->what;
  }
  return text;
}

}  // namespace

std::vector<std::string> FindClashes(const std::vector<PlannedPath>& paths) {
  std::vector<Keyed> keyed;
  keyed.reserve(paths.size());
  for (const PlannedPath& p : paths) {
    Keyed k{{}, &p};
    std::string ignored;
    // A path that cannot be looked at is left to fail where it is used.
    if (KeyOf(p.path, &k.key, &ignored)) keyed.push_back(std::move(k));
  }
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const Keyed& a, const Keyed& b) { return a.key < b.key; });

  struct Group {
    std::vector<const PlannedPath*> reads, writes;
    bool derived_only = true;
    std::set<int> owners;
    const PlannedPath* first = nullptr;  // told in the order the paths came
  };
  std::vector<Group> groups;
  for (size_t i = 0; i < keyed.size();) {
    size_t j = i + 1;
    while (j < keyed.size() && keyed[j].key == keyed[i].key) ++j;
    Group g;
    for (size_t k = i; k < j; ++k) {
      const PlannedPath* p = keyed[k].path;
      (p->input ? g.reads : g.writes).push_back(p);
      if (!p->input && !p->derived) g.derived_only = false;
      g.owners.insert(p->owner);
      if (g.first == nullptr || p < g.first) g.first = p;
    }
    // Reading one file twice is no clash; writing it twice, or over an input, is.
    if (!g.writes.empty() && g.writes.size() + g.reads.size() > 1) groups.push_back(std::move(g));
    i = j;
  }

  std::sort(groups.begin(), groups.end(),
            [](const Group& a, const Group& b) { return a.first < b.first; });
  std::vector<std::string> lines;
  std::vector<std::set<int>> told;
  for (int pass = 0; pass < 2; ++pass) {
    for (const Group& g : groups) {
      if (g.derived_only != (pass == 1)) continue;
      if (g.derived_only && std::find(told.begin(), told.end(), g.owners) != told.end()) continue;
      told.push_back(g.owners);
      if (!g.reads.empty()) {
        lines.push_back(Join(g.writes) + " would be written over " + g.reads.front()->what + " (" +
                        g.writes.front()->path + ")");
      } else {
        lines.push_back(Join(g.writes) +
                        " would be written under one name: " + g.writes.front()->path);
      }
    }
  }
  return lines;
}

std::string CheckReplace(const std::string& path, VolpOutput kind, bool force) {
  std::string why;
  const PathKind at = KindOf(path, &why);
  if (at == PathKind::kMissing) return "";
  if (!why.empty()) return "cannot look at it: " + why;
  if (at != PathKind::kRegular) return std::string("it is ") + KindName(at);
  std::string head;
  if (!ReadHead(path, 512, &head)) return "cannot read it to see what it is";
  if (head.empty() || force) return "";
  if (OutputKindOf(head) == kind) return "";
  const VolpOutput found = OutputKindOf(head);
  // "--json d1.txt d2.txt" names d1.txt as the report, not as an input.
  const char* holds = head.compare(0, 6, "|0000|") == 0 ? "a declaration"
                      : found == VolpOutput::kNone      ? "not a report volp wrote"
                                                        : OutputName(found);
  return std::string("it is ") + holds +
         " and would be lost: give another name, or --force to replace it";
}

}  // namespace volp::cli
