// Writing a whole file in one step: the bytes go to a working file of this
// process's own beside `path`, "<path>.parcial-<pid>", made new and private
// (never a file that was there, never through a link), and only a file
// written, flushed, synced and closed without a failure is renamed over
// `path`, with the access of a finished report. A reader of `path` sees the
// previous file or the new one, never a part of either; `path` itself is
// never opened, so a link there is replaced, not written through. The
// process id in the working name keeps two processes writing the same report
// from taking each other's half-written file for their own.
#include <string>
#include <string_view>

#include "platform/platform.hpp"
#include "reports/report.hpp"
#include "volp/reports.hpp"

namespace volp {

std::string WorkingNameFor(const std::string& path) {
  return path + ".parcial-" + std::to_string(platform::ProcessId());
}

bool WriteWholeFile(const std::string& path, std::string_view bytes, bool text,
                    WriteFailure* failure) {
  const std::string work = WorkingNameFor(path);
  auto fail = [&](const char* what, const std::string& name, int code) {
    if (failure != nullptr) *failure = WriteFailure{what, name, code};
    int ignored = 0;
    platform::RemoveIfExists(work, &ignored);
    return false;
  };

  platform::OutputFile f;
  int code = 0;
  bool refused = false;
  // A file of this name was left by a process of this id that died.
  if (!platform::ClearStaleFile(work, &refused, &code)) {
    if (failure != nullptr) *failure = WriteFailure{"cannot create", work, code};
    return false;  // whatever is there is not ours to remove
  }
  if (!f.Create(work, text, platform::Access::kPrivate, &code))
    return fail("cannot create", work, code);
  f.Put(bytes);
  // Closed in every case, so that the working file can then be removed.
  const bool synced = f.Share() && f.Sync();
  if (!f.Close() || !synced) return fail("cannot write", work, f.error());
  if (!platform::RenameOver(work, path, &code)) return fail("cannot put in place", path, code);
  return true;
}

bool WriteFileAtomically(const std::string& path, std::string_view bytes, std::string* error) {
  WriteFailure why;
  if (WriteWholeFile(path, bytes, /*text=*/false, &why)) return true;
  // Binary: the reports are UTF-8 documents whose line ends are their own.
  if (error != nullptr)
    *error = std::string(why.what) + " " + why.name + ": " + platform::ErrorText(why.code);
  return false;
}

}  // namespace volp
