// Writing a whole report file in one step: the bytes go to "<path>.parcial"
// and only a file written, flushed, synced and closed without a failure is
// renamed over `path`. A reader of `path` sees the previous file or the new
// one, never a part of either.
#include <string>
#include <string_view>

#include "platform/platform.hpp"
#include "volp/reports.hpp"

namespace volp {

bool WriteFileAtomically(const std::string& path, std::string_view bytes, std::string* error) {
  const std::string work = path + ".parcial";
  auto fail = [&](const char* what, const std::string& name, int code) {
    if (error != nullptr)
      *error = std::string(what) + " " + name + ": " + platform::ErrorText(code);
    int ignored = 0;
    platform::RemoveIfExists(work, &ignored);
    return false;
  };

  platform::OutputFile f;
  int code = 0;
  // Binary: the reports are UTF-8 documents whose line ends are their own.
  if (!f.Open(work, /*text=*/false, /*keep=*/false, &code))
    return fail("cannot create", work, code);
  f.Put(bytes);
  // Closed in every case, so that the working file can then be removed.
  const bool synced = f.Sync();
  if (!f.Close() || !synced) return fail("cannot write", work, f.error());
  if (!platform::RenameOver(work, path, &code)) return fail("cannot put in place", path, code);
  return true;
}

}  // namespace volp
