#include "entry/tables_search.hpp"

#include <algorithm>

#include "fields/municipios.hpp"
#include "platform/platform.hpp"
#include "platform/system.hpp"

// Set by the build from the install layout (CMakeLists.txt).
#ifndef VOLP_DATA_DIR
#define VOLP_DATA_DIR ""
#endif
#ifndef VOLP_DATA_FROM_LIBDIR
#define VOLP_DATA_FROM_LIBDIR ""
#endif
#ifndef VOLP_DATA_FROM_BINDIR
#define VOLP_DATA_FROM_BINDIR ""
#endif

namespace volp {

namespace {

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// `dir` followed by the relative path `rel`, each leading ".." taking one
// name off `dir`, so that "/opt/volp/lib" and "../share/volp" give
// "/opt/volp/share/volp" (the name the user knows) and not a path through lib.
std::string Join(std::string dir, const std::string& rel) {
  size_t at = 0;
  while (rel.compare(at, 2, "..") == 0 && (at + 2 == rel.size() || IsSeparator(rel[at + 2]))) {
    while (dir.size() > 1 && IsSeparator(dir.back())) dir.pop_back();
    const size_t sep = dir.find_last_of("/\\");
    if (sep == std::string::npos) break;
    if (dir.size() > 1) {  // the root's parent is the root itself
      const std::string last = dir.substr(sep + 1);
      if (last == "." || last == "..") break;
      dir.resize(sep == 0 ? 1 : sep);  // "/lib" goes up to "/"
    }
    at = std::min(rel.size(), at + 3);
  }
  std::string rest = rel.substr(at);
  if (rest.empty()) return dir;
  // One separator throughout: the one the module's path uses.
  const size_t last = dir.find_last_of("/\\");
  const char sep = last == std::string::npos ? platform::Separator() : dir[last];
  std::replace_if(rest.begin(), rest.end(), IsSeparator, sep);
  if (!dir.empty() && !IsSeparator(dir.back())) dir += sep;
  return dir + rest;
}

}  // namespace

std::vector<std::string> TableDirCandidates(const std::string& cwd, const std::string& module_path,
                                            const std::vector<std::string>& from_module,
                                            bool beside_module, const std::string& install_dir) {
  std::vector<std::string> dirs;
  auto add = [&dirs](const std::string& dir) {
    if (!dir.empty() && std::find(dirs.begin(), dirs.end(), dir) == dirs.end()) dirs.push_back(dir);
  };
  add(cwd);
  const size_t sep = module_path.find_last_of("/\\");
  if (sep != std::string::npos) {
    const std::string module_dir = module_path.substr(0, sep == 0 ? 1 : sep);
    for (const std::string& rel : from_module)
      if (!rel.empty()) add(Join(module_dir, rel));
    if (beside_module) add(module_dir);
  }
  add(install_dir);
  return dirs;
}

std::string FirstDirWithTable(const std::vector<std::string>& dirs) {
  for (const std::string& dir : dirs) {
    if (dir.empty()) continue;
    std::string path = dir;
    if (!IsSeparator(path.back())) path += platform::Separator();
    if (platform::FileExists(path + kMunicipiosFile)) return dir;
  }
  return {};
}

std::string DefaultTablesDir() {
#if defined(_WIN32)
  constexpr bool kBesideModule = true;
#else
  constexpr bool kBesideModule = false;
#endif
  // The shared library sits in lib/ (bin/ on Windows); a program holding the
  // library's code sits in bin/.
  return FirstDirWithTable(TableDirCandidates(platform::CurrentDirectory(), platform::ModulePath(),
                                              {VOLP_DATA_FROM_LIBDIR, VOLP_DATA_FROM_BINDIR},
                                              kBesideModule, VOLP_DATA_DIR));
}

}  // namespace volp
