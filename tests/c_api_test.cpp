// The C interface against the C++ one it wraps: the same run must read the
// same through both, in UTF-8; bad arguments come back as statuses; a stop
// asked for from the progress callback stops the run; every function is
// exported from the shared library.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "generator/generator.hpp"
#include "support.hpp"
#include "volp/validator.hpp"
#include "volp/volp_api.h"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace volp {
namespace {

std::string S(const char* s) { return s ? s : "(null)"; }

// A path from UTF-8 bytes (on Windows a std::string path is in the ANSI code page).
std::filesystem::path U8(const std::string& s) {
  return std::filesystem::path(std::u8string(s.begin(), s.end()));
}

bool IsUtf8(std::string_view s) {
  for (size_t i = 0; i < s.size();) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    const size_t n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    if (n == 0 || i + n > s.size()) return false;
    for (size_t k = 1; k < n; ++k)
      if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return false;
    i += n;
  }
  return true;
}

std::string Generated(const char* faults, int64_t lines = -1) {
  volpgen::Options o;
  o.transactions = lines < 0 ? 300 : -1;
  o.lines = lines;
  if (faults[0] != '\0') {
    std::string error;
    EXPECT_TRUE(volpgen::ParseFaults(faults, &o.faults, &error)) << error;
  }
  volpgen::StringSink sink;
  volpgen::Generate(o, sink);
  return std::move(sink.text);
}

struct OptionsDeleter {
  void operator()(volp_options* o) const { volp_options_free(o); }
};
struct ResultDeleter {
  void operator()(volp_result* r) const { volp_result_free(r); }
};
using OptionsPtr = std::unique_ptr<volp_options, OptionsDeleter>;
using ResultPtr = std::unique_ptr<volp_result, ResultDeleter>;

OptionsPtr TestOptions(const std::string& tables = test::DataDir()) {
  OptionsPtr o(volp_options_new());
  EXPECT_EQ(volp_options_set_tables_dir(o.get(), tables.c_str()), VOLP_OK);
  EXPECT_EQ(volp_options_set_today(o.get(), test::kToday), VOLP_OK);
  return o;
}

// Everything the C interface reads equals the C++ result, texts in UTF-8.
void ExpectSame(const volp_result* c, const Result& r) {
  EXPECT_EQ(volp_result_completed(c), r.completed ? 1 : 0);
  EXPECT_EQ(volp_result_valid(c), r.valid() ? 1 : 0);
  EXPECT_EQ(volp_result_read_whole_file(c), r.read_whole_file() ? 1 : 0);
  EXPECT_EQ(volp_result_stop_reason(c), static_cast<int>(r.stop_reason));
  EXPECT_EQ(S(volp_result_path(c)), r.path);
  EXPECT_EQ(S(volp_result_report_path(c)), r.report_path);
  EXPECT_EQ(S(volp_result_tables_path(c)), r.tables_path);
  EXPECT_EQ(S(volp_result_failure(c)), Latin1ToUtf8(r.failure));
  EXPECT_EQ(S(volp_result_sha256(c)), r.sha256);
  EXPECT_EQ(S(volp_result_validation_date(c)), r.validation_date);
  const std::pair<int64_t, int64_t> counters[] = {
      {volp_result_errors(c), r.errors},
      {volp_result_warnings(c), r.warnings},
      {volp_result_rejected_lines(c), r.rejected_lines},
      {volp_result_unknown_records(c), r.unknown_records},
      {volp_result_records_read(c), r.records_read},
      {volp_result_file_size(c), r.file_size},
      {volp_result_bytes_read(c), r.bytes_read},
      {volp_result_last_line(c), r.last_line},
  };
  for (size_t i = 0; i < std::size(counters); ++i)
    EXPECT_EQ(counters[i].first, counters[i].second) << "counter " << i;
  ASSERT_EQ(volp_result_type_count(c), static_cast<int64_t>(r.types.size()));
  for (int64_t i = 0; i < volp_result_type_count(c); ++i) {
    const TypeSummary& t = r.types[static_cast<size_t>(i)];
    EXPECT_EQ(S(volp_result_type_code(c, i)), t.code);
    EXPECT_EQ(volp_result_type_total(c, i), t.total);
    EXPECT_EQ(volp_result_type_rejected(c, i), t.rejected);
    EXPECT_EQ(volp_result_type_warnings(c, i), t.warnings);
    EXPECT_EQ(volp_result_type_errors(c, i), t.errors);
  }
  ASSERT_EQ(volp_result_finding_count(c), static_cast<int64_t>(r.findings.size()));
  for (int64_t i = 0; i < volp_result_finding_count(c); ++i) {
    const Finding& f = r.findings[static_cast<size_t>(i)];
    SCOPED_TRACE("finding " + std::to_string(i) + ": " + f.code);
    EXPECT_EQ(S(volp_result_finding_code(c, i)), f.code);
    EXPECT_EQ(S(volp_result_finding_message(c, i)), Latin1ToUtf8(f.message));
    EXPECT_EQ(S(volp_result_finding_content(c, i)), Latin1ToUtf8(f.content));
    EXPECT_EQ(S(volp_result_finding_field_name(c, i)), Latin1ToUtf8(f.field_name));
    EXPECT_EQ(S(volp_result_finding_record_type(c, i)), f.record_type);
    EXPECT_EQ(volp_result_finding_severity(c, i), f.severity);
    EXPECT_EQ(volp_result_finding_line(c, i), f.line);
    EXPECT_EQ(volp_result_finding_offset(c, i), f.offset);
    EXPECT_EQ(volp_result_finding_field_number(c, i), f.field_number);
    EXPECT_EQ(volp_result_finding_column(c, i), f.column);
    EXPECT_EQ(volp_result_finding_length(c, i), f.length);
    EXPECT_EQ(volp_result_finding_follows_stop(c, i), f.follows_stop ? 1 : 0);
    EXPECT_NE(volp_message_template(f.code.c_str()), nullptr);
    for (const char* s : {volp_result_finding_message(c, i), volp_result_finding_content(c, i)})
      EXPECT_TRUE(IsUtf8(S(s))) << S(s);
  }
}

TEST(CApi, ReadsWhatTheCppResultHolds) {
  test::TempDir dir;
  std::string unknown;
  for (int i = 0; i < 120; ++i) unknown += "|XXXX|\r\n";
  struct Case {
    const char* why;
    std::string content;  // no file at all when "-"
    int status;
    int stop_reason;
  } cases[] = {
      {"valid file", Generated(""), VOLP_OK, VOLP_STOP_NONE},
      {"findings, non-Latin-1 content", Generated("bad-date,non-latin1,lf-only"), VOLP_OK,
       VOLP_STOP_NONE},
      {"empty file: required records missing", "", VOLP_OK, VOLP_STOP_NONE},
      {"too many unknown types", unknown, VOLP_OK, VOLP_STOP_UNKNOWN_TYPE_LIMIT},
      {"missing file", "-", VOLP_E_FAILED, VOLP_STOP_NONE},
  };
  OptionsPtr options = TestOptions();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const std::string path =
        c.content == "-" ? dir.path() + "/nao-existe.txt" : dir.Write("decl.txt", c.content);
    volp_result* raw = nullptr;
    EXPECT_EQ(volp_validate(path.c_str(), options.get(), &raw), c.status);
    ResultPtr res(raw);
    ASSERT_NE(res, nullptr);
    EXPECT_EQ(volp_result_stop_reason(res.get()), c.stop_reason);
    EXPECT_EQ(std::string(volp_result_failure(res.get())).empty(), c.status == VOLP_OK);

    Options o;
    o.tables_dir = test::DataDir();
    o.today = test::kToday;
    ExpectSame(res.get(), Validate(path, o));
  }
}

// Texts go out in UTF-8, paths included, and paths quoted in a failure come
// back as the caller wrote them (not read again as ISO 8859-1).
TEST(CApi, TextsAndPathsAreUtf8) {
  test::TempDir dir;
  const std::string name = "declara\xC3\xA7\xC3\xA3o";  // "declaração"
  const std::string path = dir.path() + "/" + name + ".txt";
  std::ofstream(U8(path)).close();
  OptionsPtr options = TestOptions();
  volp_result* raw = nullptr;
  ASSERT_EQ(volp_validate(path.c_str(), options.get(), &raw), VOLP_OK);
  ResultPtr res(raw);
  EXPECT_EQ(S(volp_result_report_path(res.get())), dir.path() + "/" + name + ".validacao.xml");
  EXPECT_TRUE(std::filesystem::exists(U8(dir.path() + "/" + name + ".validacao.xml")));
  // "O registro 0000 é obrigatório ..." with é and ó as two bytes each.
  std::string messages;
  for (int64_t i = 0; i < volp_result_finding_count(res.get()); ++i)
    messages += S(volp_result_finding_message(res.get(), i)) + "\n";
  EXPECT_NE(messages.find("0000 \xC3\xA9 obrigat\xC3\xB3rio"), std::string::npos) << messages;

  const std::string missing = dir.path() + "/" + name + "-nao-existe.txt";
  ASSERT_EQ(volp_validate(missing.c_str(), options.get(), &raw), VOLP_E_FAILED);
  res.reset(raw);
  const std::string failure = S(volp_result_failure(res.get()));
  EXPECT_TRUE(IsUtf8(failure)) << failure;
  EXPECT_NE(failure.find(missing), std::string::npos) << failure;
  EXPECT_NE(failure.find("informa\xC3\xA7\xC3\xB5"
                         "es"),
            std::string::npos)
      << failure;

  OptionsPtr no_table = TestOptions(dir.path() + "/tabela-" + name);
  ASSERT_EQ(volp_validate(path.c_str(), no_table.get(), &raw), VOLP_E_FAILED);
  res.reset(raw);
  EXPECT_NE(S(volp_result_failure(res.get())).find("tabela-" + name), std::string::npos)
      << S(volp_result_failure(res.get()));

#if defined(_WIN32)
  // A name the ANSI code page cannot hold cannot be opened by the file layer.
  if (GetACP() == 1252) {
    const std::string greek = dir.path() + "/\xCE\xA9.txt";  // "Ω"
    EXPECT_EQ(volp_validate(greek.c_str(), options.get(), &raw), VOLP_E_PATH_ENCODING);
    EXPECT_EQ(raw, nullptr);
  }
  EXPECT_EQ(volp_validate((dir.path() + "/\xC3.txt").c_str(), options.get(), &raw),
            VOLP_E_PATH_ENCODING);
#endif
}

TEST(CApi, OptionsPlaceTheReportAndFixTheDay) {
  test::TempDir dir;
  const std::string path = dir.Write("decl.txt", Generated(""));
  std::filesystem::create_directories(dir.path() + "/out");
  struct Case {
    const char* why;
    int (*set)(volp_options*, const char*);
    std::string value;
    std::string report;  // expected report path ("" = not checked)
    std::string date;    // expected validation date ("" = not checked)
  } cases[] = {
      {"report directory", volp_options_set_report_dir, dir.path() + "/out",
       dir.path() + "/out/decl.validacao.xml", test::kToday},
      {"report directory with separator", volp_options_set_report_dir, dir.path() + "/out/",
       dir.path() + "/out/decl.validacao.xml", ""},
      {"report stem", volp_options_set_report_stem, dir.path() + "/out/r",
       dir.path() + "/out/r.validacao.xml", ""},
      {"another day", volp_options_set_today, "20251231",
       path.substr(0, path.size() - 4) + ".validacao.xml", "20251231"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    OptionsPtr options = TestOptions();
    ASSERT_EQ(c.set(options.get(), c.value.c_str()), VOLP_OK);
    volp_result* raw = nullptr;
    ASSERT_EQ(volp_validate(path.c_str(), options.get(), &raw), VOLP_OK);
    ResultPtr res(raw);
    EXPECT_EQ(volp_result_valid(res.get()), 1);
    EXPECT_EQ(S(volp_result_report_path(res.get())), c.report);
    EXPECT_TRUE(std::filesystem::exists(c.report));
    if (!c.date.empty()) {
      EXPECT_EQ(S(volp_result_validation_date(res.get())), c.date);
    }
  }
}

TEST(CApi, BadArgumentsComeBackAsStatuses) {
  test::TempDir dir;
  const std::string path = dir.Write("decl.txt", "");
  OptionsPtr options(volp_options_new());
  // volp_validate clears *out whenever it gives no result.
  char junk = 0;
  for (const char* p : {static_cast<const char*>(nullptr), ""}) {
    volp_result* res = reinterpret_cast<volp_result*>(&junk);
    EXPECT_EQ(volp_validate(p, options.get(), &res), VOLP_E_INVALID_ARGUMENT);
    EXPECT_EQ(res, nullptr);
  }
  struct Case {
    const char* why;
    int status;
    int expected;
  } cases[] = {
      {"no out pointer", volp_validate(path.c_str(), nullptr, nullptr), VOLP_E_INVALID_ARGUMENT},
      {"day too short", volp_options_set_today(options.get(), "2026011"), VOLP_E_INVALID_ARGUMENT},
      {"day not digits", volp_options_set_today(options.get(), "2026O115"),
       VOLP_E_INVALID_ARGUMENT},
      {"day cleared", volp_options_set_today(options.get(), ""), VOLP_OK},
      {"no options", volp_options_set_tables_dir(nullptr, "x"), VOLP_E_INVALID_ARGUMENT},
      {"stop without options", volp_options_request_stop(nullptr), VOLP_E_INVALID_ARGUMENT},
      {"progress without options", volp_options_set_progress(nullptr, nullptr, nullptr),
       VOLP_E_INVALID_ARGUMENT},
  };
  for (const Case& c : cases) EXPECT_EQ(c.status, c.expected) << c.why;

  // Getters on no result or past the end read 0 and NULL.
  volp_result* res = nullptr;
  OptionsPtr no_table = TestOptions(dir.path());
  ASSERT_EQ(volp_validate(path.c_str(), no_table.get(), &res), VOLP_E_FAILED);
  ResultPtr owned(res);
  for (const volp_result* r :
       {static_cast<const volp_result*>(nullptr), static_cast<const volp_result*>(res)}) {
    const int64_t past = volp_result_finding_count(r);
    for (int64_t i : {int64_t{-1}, past}) {
      EXPECT_EQ(volp_result_finding_message(r, i), nullptr);
      EXPECT_EQ(volp_result_finding_line(r, i), 0);
      EXPECT_EQ(volp_result_type_code(r, i == -1 ? -1 : volp_result_type_count(r)), nullptr);
    }
  }
  EXPECT_EQ(volp_result_failure(nullptr), nullptr);
  EXPECT_EQ(volp_result_valid(nullptr), 0);
  volp_result_free(nullptr);
  volp_options_free(nullptr);

  EXPECT_EQ(volp_message_template("VOLP-NAO-EXISTE"), nullptr);
  EXPECT_EQ(volp_message_template(nullptr), nullptr);
  EXPECT_EQ(S(volp_status_name(VOLP_E_PATH_ENCODING)), "path-encoding");
  EXPECT_EQ(S(volp_status_name(99)), "unknown");
  EXPECT_EQ(S(volp_stop_reason_name(VOLP_STOP_CANCELLED)), "cancelled");
  EXPECT_EQ(S(volp_stop_reason_name(-1)), "unknown");
}

// A run looks at the stop request every 100,000 lines, where it also reports
// progress: a stop asked for in the first callback ends it at the second look.
TEST(CApi, StopFromTheProgressCallback) {
  test::TempDir dir;
  const std::string path = dir.Write("grande.txt", Generated("", 230000));
  struct Progress {
    volp_options* options;
    bool stop_in_callback;
    int calls = 0;
    int64_t bytes = 0;
  };
  struct Case {
    const char* why;
    bool before_run;
    bool in_callback;
    int stop_reason;
    int64_t last_line;
    int calls;
  } cases[] = {
      {"asked in the callback", false, true, VOLP_STOP_CANCELLED, 200000, 1},
      {"asked before the run", true, false, VOLP_STOP_CANCELLED, 100000, 0},
      {"not asked", false, false, VOLP_STOP_NONE, -1, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    OptionsPtr options = TestOptions();
    Progress p{options.get(), c.in_callback};
    ASSERT_EQ(volp_options_set_progress(
                  options.get(),
                  [](int64_t bytes_read, int64_t file_size, void* user) {
                    auto* pr = static_cast<Progress*>(user);
                    ++pr->calls;
                    EXPECT_LT(bytes_read, file_size);
                    EXPECT_GT(bytes_read, pr->bytes);
                    pr->bytes = bytes_read;
                    if (pr->stop_in_callback) volp_options_request_stop(pr->options);
                  },
                  &p),
              VOLP_OK);
    if (c.before_run) volp_options_request_stop(options.get());
    volp_result* raw = nullptr;
    ASSERT_EQ(volp_validate(path.c_str(), options.get(), &raw), VOLP_OK);
    ResultPtr res(raw);
    EXPECT_EQ(volp_result_stop_reason(res.get()), c.stop_reason);
    EXPECT_EQ(volp_result_read_whole_file(res.get()), c.stop_reason == VOLP_STOP_NONE ? 1 : 0);
    EXPECT_EQ(volp_result_completed(res.get()), 1);
    if (c.last_line > 0) {
      EXPECT_EQ(volp_result_last_line(res.get()), c.last_line);
    }
    EXPECT_EQ(S(volp_result_sha256(res.get())).empty(), c.stop_reason != VOLP_STOP_NONE);
    EXPECT_EQ(p.calls, c.calls);
  }
}

// Runs on several threads at once, each with its own state: the same
// findings as one after the other.
TEST(CApi, RunsOnSeveralThreadsAtOnce) {
  test::TempDir dir;
  const char* faults[] = {"", "bad-date", "cnpj-digit,lf-only", "sum-1110,order"};
  std::vector<std::string> paths;
  for (size_t i = 0; i < std::size(faults); ++i)
    paths.push_back(dir.Write("decl" + std::to_string(i) + ".txt", Generated(faults[i])));
  OptionsPtr options = TestOptions();
  std::vector<std::string> alone, together(paths.size());
  auto codes = [&](const std::string& path) {
    volp_result* raw = nullptr;
    volp_validate(path.c_str(), options.get(), &raw);
    ResultPtr res(raw);
    std::string out;
    for (int64_t i = 0; i < volp_result_finding_count(res.get()); ++i)
      out += S(volp_result_finding_code(res.get(), i)) + "@" +
             std::to_string(volp_result_finding_line(res.get(), i)) + " ";
    return out;
  };
  for (const std::string& p : paths) alone.push_back(codes(p));
  std::vector<std::thread> threads;
  for (size_t i = 0; i < paths.size(); ++i)
    threads.emplace_back([&, i] { together[i] = codes(paths[i]); });
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(together, alone);
  EXPECT_NE(alone[1], "");
}

// The shared library exports the whole interface by name, as an FFI finds it.
TEST(CApi, SharedLibraryExportsEveryFunction) {
#if defined(_WIN32)
  HMODULE lib = LoadLibraryA(VOLP_SHARED_LIBRARY_PATH);
  ASSERT_NE(lib, nullptr);
  auto find = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(lib, name)); };
#else
  void* lib = dlopen(VOLP_SHARED_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(lib, nullptr) << dlerror();
  auto find = [&](const char* name) { return dlsym(lib, name); };
#endif
  const char* names[] = {
      "volp_api_version",
      "volp_version",
      "volp_status_name",
      "volp_options_new",
      "volp_options_free",
      "volp_options_set_tables_dir",
      "volp_options_set_today",
      "volp_options_set_report_stem",
      "volp_options_set_report_dir",
      "volp_options_set_progress",
      "volp_options_request_stop",
      "volp_options_clear_stop",
      "volp_validate",
      "volp_result_free",
      "volp_result_valid",
      "volp_result_completed",
      "volp_result_read_whole_file",
      "volp_result_stop_reason",
      "volp_stop_reason_name",
      "volp_result_failure",
      "volp_result_path",
      "volp_result_report_path",
      "volp_result_tables_path",
      "volp_result_sha256",
      "volp_result_validation_date",
      "volp_result_elapsed_seconds",
      "volp_result_errors",
      "volp_result_warnings",
      "volp_result_rejected_lines",
      "volp_result_unknown_records",
      "volp_result_records_read",
      "volp_result_file_size",
      "volp_result_bytes_read",
      "volp_result_last_line",
      "volp_result_type_count",
      "volp_result_type_code",
      "volp_result_type_total",
      "volp_result_type_rejected",
      "volp_result_type_warnings",
      "volp_result_type_errors",
      "volp_result_finding_count",
      "volp_result_finding_code",
      "volp_result_finding_severity",
      "volp_result_finding_message",
      "volp_result_finding_record_type",
      "volp_result_finding_field_name",
      "volp_result_finding_content",
      "volp_result_finding_line",
      "volp_result_finding_offset",
      "volp_result_finding_field_number",
      "volp_result_finding_column",
      "volp_result_finding_length",
      "volp_result_finding_follows_stop",
      "volp_message_template",
  };
  for (const char* name : names) EXPECT_NE(find(name), nullptr) << name;
  auto version = reinterpret_cast<int (*)()>(find("volp_api_version"));
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(version(), VOLP_API_VERSION);
#if defined(_WIN32)
  FreeLibrary(lib);
#else
  dlclose(lib);
#endif
}

}  // namespace
}  // namespace volp
