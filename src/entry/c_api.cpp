// The C interface for other languages (include/volp/volp_api.h), a thin shell
// over volp::Validate: it turns UTF-8 paths into what the file layer opens,
// turns the run's ISO 8859-1 texts into UTF-8 once, and keeps every exception
// on this side of the boundary.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/messages.hpp"
#include "volp/validator.hpp"
#include "volp/volp_api.h"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

struct volp_options {
  std::string tables_dir;  // UTF-8, as given
  std::string today;
  std::string report_stem;
  std::string report_dir;
  volp_progress_fn progress = nullptr;
  void* progress_user = nullptr;
  std::atomic<bool> stop{false};
};

struct volp_result {
  // The run's result with every text in UTF-8 (findings included).
  volp::Result r;
  std::string path;  // as given
};

namespace volp {
namespace {

static_assert(static_cast<int>(StopReason::kNone) == VOLP_STOP_NONE &&
              static_cast<int>(StopReason::kErrorLimit) == VOLP_STOP_ERROR_LIMIT &&
              static_cast<int>(StopReason::kUnknownTypeLimit) == VOLP_STOP_UNKNOWN_TYPE_LIMIT &&
              static_cast<int>(StopReason::kCancelled) == VOLP_STOP_CANCELLED &&
              static_cast<int>(StopReason::kReadError) == VOLP_STOP_READ_ERROR);

// ---- Paths ----------------------------------------------------------------
// The file layer opens narrow paths: bytes on POSIX, the ANSI code page on
// Windows. Paths cross this interface in UTF-8.

#if defined(_WIN32)

bool Widen(UINT code_page, DWORD flags, std::string_view in, std::wstring* out) {
  out->clear();
  if (in.empty()) return true;
  const int n =
      MultiByteToWideChar(code_page, flags, in.data(), static_cast<int>(in.size()), nullptr, 0);
  if (n <= 0) return false;
  out->resize(static_cast<size_t>(n));
  return MultiByteToWideChar(code_page, flags, in.data(), static_cast<int>(in.size()), out->data(),
                             n) == n;
}

bool Narrow(UINT code_page, std::wstring_view in, std::string* out) {
  out->clear();
  if (in.empty()) return true;
  // Without a best fit, "ő" does not quietly become "o" and open another
  // file; a character the code page lacks makes the conversion fail.
  const bool strict = code_page != CP_UTF8;
  const DWORD flags = strict ? WC_NO_BEST_FIT_CHARS : 0;
  BOOL used_default = FALSE;
  BOOL* used = strict ? &used_default : nullptr;
  const int n = WideCharToMultiByte(code_page, flags, in.data(), static_cast<int>(in.size()),
                                    nullptr, 0, nullptr, used);
  if (n <= 0 || used_default) return false;
  out->resize(static_cast<size_t>(n));
  return WideCharToMultiByte(code_page, flags, in.data(), static_cast<int>(in.size()), out->data(),
                             n, nullptr, used) == n &&
         !used_default;
}

bool Utf8ToNative(std::string_view utf8, std::string* out) {
  std::wstring wide;
  return Widen(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, &wide) && Narrow(CP_ACP, wide, out);
}

std::string NativeToUtf8(std::string_view native) {
  std::wstring wide;
  std::string out;
  if (Widen(CP_ACP, 0, native, &wide) && Narrow(CP_UTF8, wide, &out)) return out;
  return Latin1ToUtf8(native);
}

constexpr std::string_view kSeparators = "/\\";
constexpr char kSeparator = '\\';

#else

bool Utf8ToNative(std::string_view utf8, std::string* out) {
  out->assign(utf8);
  return true;
}

std::string NativeToUtf8(std::string_view native) { return std::string(native); }

constexpr std::string_view kSeparators = "/";
constexpr char kSeparator = '/';

#endif

// A run's text that may quote paths: the paths the run was given go back as
// the caller wrote them, the rest of the text is ISO 8859-1.
std::string FailureToUtf8(std::string_view text,
                          std::vector<std::pair<std::string, std::string>> paths) {
  std::erase_if(paths, [](const auto& p) { return p.first.empty(); });
  std::sort(paths.begin(), paths.end(),
            [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
  std::string out;
  size_t i = 0;
  while (i < text.size()) {
    bool matched = false;
    for (const auto& [native, utf8] : paths) {
      if (text.substr(i, native.size()) == native) {
        out += utf8;
        i += native.size();
        matched = true;
        break;
      }
    }
    if (!matched) {
      out += Latin1ToUtf8(text.substr(i, 1));
      ++i;
    }
  }
  return out;
}

// "<dir>/<file name up to its last '.'>" for a report directory.
std::string StemInDirectory(const std::string& dir, const std::string& path) {
  const size_t sep = path.find_last_of(kSeparators);
  std::string name = sep == std::string::npos ? path : path.substr(sep + 1);
  const size_t dot = name.find_last_of('.');
  if (dot != std::string::npos) name.resize(dot);
  std::string stem = dir;
  if (kSeparators.find(stem.back()) == std::string_view::npos) {
    // A directory written with "/" goes on with "/" (Windows takes both).
    stem += dir.find('/') != std::string::npos ? '/' : kSeparator;
  }
  return stem + name;
}

bool IsDay(const char* s) {
  if (std::strlen(s) != 8) return false;
  for (int i = 0; i < 8; ++i)
    if (s[i] < '0' || s[i] > '9') return false;
  return true;
}

// Runs `f` and turns what it throws into a status.
template <typename F>
int Guarded(F&& f) {
  try {
    return f();
  } catch (const std::bad_alloc&) {
    return VOLP_E_NO_MEMORY;
  } catch (...) {
    return VOLP_E_INTERNAL;
  }
}

int SetText(volp_options* options, std::string volp_options::*member, const char* value) {
  if (options == nullptr) return VOLP_E_INVALID_ARGUMENT;
  return Guarded([&] {
    (options->*member).assign(value ? value : "");
    return VOLP_OK;
  });
}

const Finding* FindingAt(const volp_result* result, int64_t index) {
  if (result == nullptr || index < 0 || index >= static_cast<int64_t>(result->r.findings.size()))
    return nullptr;
  return &result->r.findings[static_cast<size_t>(index)];
}

const TypeSummary* TypeAt(const volp_result* result, int64_t index) {
  if (result == nullptr || index < 0 || index >= static_cast<int64_t>(result->r.types.size()))
    return nullptr;
  return &result->r.types[static_cast<size_t>(index)];
}

// The message formats in UTF-8, made once.
struct Templates {
  Templates() {
    utf8.reserve(kMessageCount);
    for (const MessageDef& m : kMessages) utf8.push_back(Latin1ToUtf8(m.format));
  }
  std::vector<std::string> utf8;
};

int ValidateInto(const char* path, const volp_options* options, volp_result** out) {
  Options o;
  std::vector<std::pair<std::string, std::string>> paths;  // native and UTF-8
  std::string native_path;
  if (!Utf8ToNative(path, &native_path)) return VOLP_E_PATH_ENCODING;
  paths.emplace_back(native_path, path);
  if (options != nullptr) {
    if (!Utf8ToNative(options->tables_dir, &o.tables_dir)) return VOLP_E_PATH_ENCODING;
    paths.emplace_back(o.tables_dir, options->tables_dir);
    std::string stem = options->report_stem;
    if (stem.empty() && !options->report_dir.empty())
      stem = StemInDirectory(options->report_dir, path);
    if (!Utf8ToNative(stem, &o.report_stem)) return VOLP_E_PATH_ENCODING;
    paths.emplace_back(o.report_stem, stem);
    o.today = options->today;
    o.stop = &options->stop;
    if (options->progress != nullptr) {
      volp_progress_fn fn = options->progress;
      void* user = options->progress_user;
      o.progress = [fn, user](int64_t bytes_read, int64_t file_size) {
        fn(bytes_read, file_size, user);
      };
    }
  }

  auto* result = new volp_result;
  try {
    result->path = path;
    result->r = Validate(native_path, o);
    Result& r = result->r;
    // The report's name beside the input is the input's up to its last ".".
    const std::string report_utf8 = NativeToUtf8(r.report_path);
    paths.emplace_back(r.report_path, report_utf8);
    r.failure = FailureToUtf8(r.failure, paths);
    r.path = path;
    r.report_path = report_utf8;
    r.tables_path = NativeToUtf8(r.tables_path);
    for (Finding& f : r.findings) {
      f.message = Latin1ToUtf8(f.message);
      f.content = Latin1ToUtf8(f.content);
      f.field_name = Latin1ToUtf8(f.field_name);
      f.record_type = Latin1ToUtf8(f.record_type);
    }
  } catch (...) {
    delete result;
    throw;
  }
  *out = result;
  return result->r.completed ? VOLP_OK : VOLP_E_FAILED;
}

}  // namespace
}  // namespace volp

extern "C" {

int volp_api_version(void) { return VOLP_API_VERSION; }

const char* volp_version(void) { return VOLP_VERSION_TEXT; }

const char* volp_status_name(int status) {
  switch (status) {
    case VOLP_OK:
      return "ok";
    case VOLP_E_INVALID_ARGUMENT:
      return "invalid-argument";
    case VOLP_E_NO_MEMORY:
      return "no-memory";
    case VOLP_E_FAILED:
      return "failed";
    case VOLP_E_PATH_ENCODING:
      return "path-encoding";
    case VOLP_E_INTERNAL:
      return "internal";
  }
  return "unknown";
}

// ---- Options ------------------------------------------------------------

volp_options* volp_options_new(void) { return new (std::nothrow) volp_options; }

void volp_options_free(volp_options* options) { delete options; }

int volp_options_set_tables_dir(volp_options* options, const char* dir) {
  return volp::SetText(options, &volp_options::tables_dir, dir);
}

int volp_options_set_today(volp_options* options, const char* aaaammdd) {
  if (aaaammdd != nullptr && *aaaammdd != '\0' && !volp::IsDay(aaaammdd))
    return VOLP_E_INVALID_ARGUMENT;
  return volp::SetText(options, &volp_options::today, aaaammdd);
}

int volp_options_set_report_stem(volp_options* options, const char* stem) {
  return volp::SetText(options, &volp_options::report_stem, stem);
}

int volp_options_set_report_dir(volp_options* options, const char* dir) {
  return volp::SetText(options, &volp_options::report_dir, dir);
}

int volp_options_set_progress(volp_options* options, volp_progress_fn fn, void* user) {
  if (options == nullptr) return VOLP_E_INVALID_ARGUMENT;
  options->progress = fn;
  options->progress_user = fn != nullptr ? user : nullptr;
  return VOLP_OK;
}

int volp_options_request_stop(volp_options* options) {
  if (options == nullptr) return VOLP_E_INVALID_ARGUMENT;
  options->stop.store(true);
  return VOLP_OK;
}

int volp_options_clear_stop(volp_options* options) {
  if (options == nullptr) return VOLP_E_INVALID_ARGUMENT;
  options->stop.store(false);
  return VOLP_OK;
}

// ---- Validation -----------------------------------------------------------

int volp_validate(const char* path, const volp_options* options, volp_result** out) {
  if (out == nullptr) return VOLP_E_INVALID_ARGUMENT;
  *out = nullptr;
  if (path == nullptr || *path == '\0') return VOLP_E_INVALID_ARGUMENT;
  return volp::Guarded([&] { return volp::ValidateInto(path, options, out); });
}

void volp_result_free(volp_result* result) { delete result; }

// ---- Reading a result -----------------------------------------------------

int volp_result_valid(const volp_result* result) { return result && result->r.valid() ? 1 : 0; }

int volp_result_completed(const volp_result* result) {
  return result && result->r.completed ? 1 : 0;
}

int volp_result_read_whole_file(const volp_result* result) {
  return result && result->r.read_whole_file() ? 1 : 0;
}

int volp_result_stop_reason(const volp_result* result) {
  return result ? static_cast<int>(result->r.stop_reason) : 0;
}

const char* volp_stop_reason_name(int reason) {
  if (reason < VOLP_STOP_NONE || reason > VOLP_STOP_READ_ERROR) return "unknown";
  return volp::StopReasonName(static_cast<volp::StopReason>(reason));
}

const char* volp_result_failure(const volp_result* result) {
  return result ? result->r.failure.c_str() : nullptr;
}

const char* volp_result_path(const volp_result* result) {
  return result ? result->path.c_str() : nullptr;
}

const char* volp_result_report_path(const volp_result* result) {
  return result ? result->r.report_path.c_str() : nullptr;
}

const char* volp_result_tables_path(const volp_result* result) {
  return result ? result->r.tables_path.c_str() : nullptr;
}

const char* volp_result_sha256(const volp_result* result) {
  return result ? result->r.sha256.c_str() : nullptr;
}

const char* volp_result_validation_date(const volp_result* result) {
  return result ? result->r.validation_date.c_str() : nullptr;
}

double volp_result_elapsed_seconds(const volp_result* result) {
  return result ? result->r.elapsed_seconds : 0;
}

int64_t volp_result_errors(const volp_result* result) { return result ? result->r.errors : 0; }

int64_t volp_result_warnings(const volp_result* result) { return result ? result->r.warnings : 0; }

int64_t volp_result_rejected_lines(const volp_result* result) {
  return result ? result->r.rejected_lines : 0;
}

int64_t volp_result_unknown_records(const volp_result* result) {
  return result ? result->r.unknown_records : 0;
}

int64_t volp_result_records_read(const volp_result* result) {
  return result ? result->r.records_read : 0;
}

int64_t volp_result_file_size(const volp_result* result) {
  return result ? result->r.file_size : 0;
}

int64_t volp_result_bytes_read(const volp_result* result) {
  return result ? result->r.bytes_read : 0;
}

int64_t volp_result_last_line(const volp_result* result) {
  return result ? result->r.last_line : 0;
}

int64_t volp_result_type_count(const volp_result* result) {
  return result ? static_cast<int64_t>(result->r.types.size()) : 0;
}

const char* volp_result_type_code(const volp_result* result, int64_t index) {
  const volp::TypeSummary* t = volp::TypeAt(result, index);
  return t ? t->code.c_str() : nullptr;
}

int64_t volp_result_type_total(const volp_result* result, int64_t index) {
  const volp::TypeSummary* t = volp::TypeAt(result, index);
  return t ? t->total : 0;
}

int64_t volp_result_type_rejected(const volp_result* result, int64_t index) {
  const volp::TypeSummary* t = volp::TypeAt(result, index);
  return t ? t->rejected : 0;
}

int64_t volp_result_type_warnings(const volp_result* result, int64_t index) {
  const volp::TypeSummary* t = volp::TypeAt(result, index);
  return t ? t->warnings : 0;
}

int64_t volp_result_type_errors(const volp_result* result, int64_t index) {
  const volp::TypeSummary* t = volp::TypeAt(result, index);
  return t ? t->errors : 0;
}

int64_t volp_result_finding_count(const volp_result* result) {
  return result ? static_cast<int64_t>(result->r.findings.size()) : 0;
}

const char* volp_result_finding_code(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->code.c_str() : nullptr;
}

int32_t volp_result_finding_severity(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->severity : 0;
}

const char* volp_result_finding_message(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->message.c_str() : nullptr;
}

const char* volp_result_finding_record_type(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->record_type.c_str() : nullptr;
}

const char* volp_result_finding_field_name(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->field_name.c_str() : nullptr;
}

const char* volp_result_finding_content(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->content.c_str() : nullptr;
}

int64_t volp_result_finding_line(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->line : 0;
}

int64_t volp_result_finding_offset(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->offset : 0;
}

int32_t volp_result_finding_field_number(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->field_number : 0;
}

int32_t volp_result_finding_column(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->column : 0;
}

int32_t volp_result_finding_length(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f ? f->length : 0;
}

int volp_result_finding_follows_stop(const volp_result* result, int64_t index) {
  const volp::Finding* f = volp::FindingAt(result, index);
  return f && f->follows_stop ? 1 : 0;
}

const char* volp_message_template(const char* code) {
  if (code == nullptr) return nullptr;
  try {
    static const volp::Templates templates;
    for (size_t i = 0; i < volp::kMessageCount; ++i)
      if (std::strcmp(code, volp::kMessages[i].code) == 0) return templates.utf8[i].c_str();
  } catch (...) {
    // Out of memory at the first call: no template to give.
  }
  return nullptr;
}

}  // extern "C"
