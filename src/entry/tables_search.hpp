// Where the C++ API looks for the municipality table when the caller names no
// directory: the current directory first (where the C entry always reads it),
// then the data directory of the installed tree the library itself sits in,
// then the directory the build was configured to install to. An installed
// library thus finds its table wherever the tree was put (a .deb under /usr,
// a tree unpacked in a home directory) without the caller copying it around.
#pragma once

#include <string>
#include <vector>

namespace volp {

// The candidate directories in order. `module_path` is the file holding this
// code (the shared library, or the program it is linked into); each of
// `from_module` is a path relative to its directory ("../share/volp");
// `beside_module` adds that directory itself (the Windows layout of one folder
// holding volp.dll and the table). Empty inputs are left out, and so is a
// directory already listed.
std::vector<std::string> TableDirCandidates(const std::string& cwd, const std::string& module_path,
                                            const std::vector<std::string>& from_module,
                                            bool beside_module, const std::string& install_dir);

// The first of `dirs` holding RELATORIO_DTB_BRASIL_MUNICIPIO.csv; "" when
// none does.
std::string FirstDirWithTable(const std::vector<std::string>& dirs);

// The search above for this process and this library's install layout: the
// directory Validate reads the table from when Options::tables_dir is empty
// ("" when none holds it: the run then fails naming the current directory).
std::string DefaultTablesDir();

}  // namespace volp
