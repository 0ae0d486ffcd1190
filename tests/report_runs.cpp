#include "report_runs.hpp"

#include <algorithm>
#include <atomic>
#include <filesystem>

#include "declaration_builder.hpp"
#include "support.hpp"

namespace volp::test {

namespace fs = std::filesystem;

namespace {

// The 0005 record of the builder's declarations with one field changed
// (1-based, the record type being field 1).
std::vector<std::string> With0005Field(Declaration d, int field, const std::string& value) {
  std::vector<std::string> lines = d.Lines();
  for (std::string& l : lines) {
    if (!l.starts_with("|0005|")) continue;
    size_t start = 0;
    for (int k = 0; k < field; ++k) start = l.find('|', start) + 1;
    l.replace(start, l.find('|', start) - start, value);
  }
  return lines;
}

Finding Made(int64_t line, const char* type, int32_t field, int32_t severity, const char* code,
             std::string content, std::string message) {
  Finding f;
  f.line = line;
  f.offset = line * 40;
  f.record_type = type;
  f.field_number = field;
  f.column = field == 0 ? -1 : 6;
  f.length = 4;
  f.field_name = field == 0 ? "" : "CAMPO";
  f.severity = severity;
  f.code = code;
  f.content = std::move(content);
  f.message = std::move(message);
  return f;
}

// A run that could not be done: no report, no verdict.
ReportRun Failed() {
  ReportRun run{"sintetico-falhou", {}, {}};
  Result& r = run.result;
  r.path = "/dados/entrada.txt";
  r.failure = L1("E#C9103: Erro ao tentar abrir o arquivo /dados/entrada.txt: não existe");
  r.validation_date = kToday;
  return run;
}

// A compressed input read only in part, findings of every kind: without a
// code, following the stop, on line 0, with bytes of every class.
ReportRun Assorted() {
  ReportRun run{"sintetico-variado", {}, {}};
  run.options.input_name = "lote \"<1>\".txt.gz";
  run.options.decompressed = true;
  run.options.examples = 2;
  run.options.all_findings = true;
  Result& r = run.result;
  r.completed = true;
  r.cancelled = true;
  r.stop_reason = StopReason::kCancelled;
  r.path = "-";
  r.file_size = 1000;
  r.bytes_read = 999;
  r.last_line = 25;
  r.records_read = 25;
  r.errors = 3;
  r.warnings = 12000;
  r.rejected_lines = 2;
  r.unknown_records = 1;
  r.validation_date = "20260230";  // not checked: the report carries what the run said
  r.elapsed_seconds = 1234.5;
  r.types.push_back({"0000", 1, 0, 0, 0});
  r.types.push_back({"0\x01<\xE9", 3, 1, 1, 2});
  r.findings = {
      Made(0, "", 0, 2, "", "",
           "sem c\xF3"
           "digo"),
      Made(3, "0100", 2, 2, "VOLP-0100-COD_CLIENTE", "\x01\x1F\x7F\x80\x9F\xA0\xFF", "m"),
      Made(3, "0100", 2, 2, "VOLP-0100-COD_CLIENTE", "\"\\</script>&amp;", "m\r\n\t"),
      Made(9, "0100", 2, 2, "VOLP-0100-COD_CLIENTE", "x", "m"),
      Made(9, "0200", 0, 1, "VOLP-0200-AVISO", "", "aviso"),
  };
  r.findings[3].follows_stop = true;
  return run;
}

}  // namespace

std::string ForgedEmailDeclaration() { return Lines(With0005Field(FullBase(), 9, kForgedEmail)); }

std::string ControlBytesDeclaration() {
  Declaration d = FullBase();
  // A client whose name holds markup, quotes and a backslash, and one more
  // whose code does (no record refers to it: the finding quotes the code); a
  // device whose brand holds control bytes; a contact with Latin-1 letters
  // and a C1 byte.
  d.registry[0] = Rec({"0100", "C1", Cnpj("445556660001"), "", "<b>A&amp;B</b> \"'\\", "Rua B, 2",
                       "01310100", "3550308", "SP", "", "", "", "20200115", "0"});
  d.registry[3] = Device("M1", "LOG1", "1", "1", "Marca\x01\x1B[31m\x7F");
  d.registry.insert(d.registry.begin() + 2, Client("<i>\"'\\&lt;", "01310200"));
  return Lines(With0005Field(d, 7, "Jo\xE3o \x85 Concei\xE7\xE3o\x0B"));
}

std::string ErrorLimitDeclaration() {
  Declaration d = RegistryBase();
  // Every client's CNPJ has wrong check digits: 3,100 errors and more.
  for (int i = 0; i < 3100; ++i)
    d.registry.push_back(
        Rec({"0100", std::string("X").append(std::to_string(i)), "11222333000100", "", "Cliente",
             "Rua B, 2", "01310100", "3550308", "SP", "", "", "", "20200115", "0"}));
  return Lines(d.Lines());
}

std::string LongDeclaration() {
  Declaration d = FullBase();
  // One daily total with 100,000 transactions under it.
  d.block1.resize(2);
  for (int i = 0; i < 100000; ++i) {
    std::string line = "|1115|N";
    line.append(std::to_string(i)).append("|A|T|0|1|101500|1,00|1||");
    d.block1.push_back(std::move(line));
  }
  return Lines(d.Lines());
}

std::vector<std::string> GoldenInputs() {
  std::vector<std::string> out;
  for (const auto& e : fs::directory_iterator(fs::path(VOLP_TEST_DATA_DIR) / "reports"))
    if (e.is_regular_file()) out.push_back(e.path().string());
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<ReportRun> SampleRuns() {
  std::vector<ReportRun> runs;
  auto add = [&](std::string name, const std::string& content, Options o = {},
                 ReportOptions ro = {}) {
    ro.all_findings = true;
    ro.input_name = name + ".txt";
    runs.push_back({std::move(name), ValidateText(content, nullptr, std::move(o)), ro});
  };
  for (const std::string& input : GoldenInputs())
    add(fs::path(input).stem().string(), ReadFile(input));
  add("email-forjado", ForgedEmailDeclaration());
  add("bytes-de-controle", ControlBytesDeclaration());
  add("limite-de-erros", ErrorLimitDeclaration());
  static const std::atomic<bool> stop{true};
  Options cancel;
  cancel.stop = &stop;
  add("cancelada", LongDeclaration(), cancel);
  // The same file with the library's defaults: examples only, no full list.
  runs.push_back(runs.back());
  runs.back().name = "cancelada-padrao";
  runs.back().options = {};
  runs.push_back(Failed());
  runs.push_back(Assorted());
  return runs;
}

}  // namespace volp::test
