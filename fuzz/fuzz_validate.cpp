// The whole validation of one input file through the C++ API. After each run:
// the run completed, its report is whole and in place, no working file is
// left, the report lists every finding once and the counters agree.
#include <cstdint>
#include <filesystem>
#include <numeric>

#include "fuzz_support.hpp"
#include "volp/validator.hpp"

namespace {

// A municipality table of its own: the header and the first municipalities of
// each unit, which hold the codes the seeds use. Loading the whole national
// table at every run would take most of the fuzzer's time.
std::string TablesDir() {
  const std::string dir = volp::fuzz::ScratchDir() + "/tables";
  std::filesystem::create_directories(dir);
  const std::string all =
      volp::fuzz::ReadAll(std::string(VOLP_FUZZ_DATA_DIR) + "/RELATORIO_DTB_BRASIL_MUNICIPIO.csv");
  std::string some;
  std::string last_uf;
  int in_uf = 0;
  for (size_t at = 0; at < all.size();) {
    size_t end = all.find('\n', at);
    end = end == std::string::npos ? all.size() : end + 1;
    const std::string line = all.substr(at, end - at);
    const std::string uf = line.substr(0, 2);
    in_uf = uf == last_uf ? in_uf + 1 : 0;
    last_uf = uf;
    const bool wanted = at == 0 || in_uf < 8 || line.find(";3550308;") != std::string::npos ||
                        line.find(";3304557;") != std::string::npos ||
                        line.find(";3548500;") != std::string::npos ||
                        line.find(";3509502;") != std::string::npos ||
                        line.find(";2927408;") != std::string::npos ||
                        line.find(";4117602;") != std::string::npos;
    if (wanted) some += line;
    at = end;
  }
  volp::fuzz::WriteAll(dir + "/RELATORIO_DTB_BRASIL_MUNICIPIO.csv", some);
  return dir;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace volp::fuzz;
  static const std::string tables = TablesDir();
  const std::string path = ScratchDir() + "/decl.txt";
  WriteAll(path, std::string_view(reinterpret_cast<const char*>(data), size));

  volp::Options o;
  o.tables_dir = tables;
  o.today = "20260115";
  const volp::Result r = volp::Validate(path, o);
  Check(r.completed, "the run did not complete: " + r.failure);
  Check(r.report_path == ScratchDir() + "/decl.validacao.xml", "report name " + r.report_path);

  const std::string xml = ReadAll(r.report_path);
  Check(xml.starts_with("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<VOLP>\n"),
        "report does not begin as a report");
  Check(xml.ends_with("  </Resumo>\n</VOLP>\n"), "report does not end with </VOLP>");
  Check(!std::filesystem::exists(r.report_path + ".parcial"), "working file left");
  Check(Count(xml, "\n  <Erro>\n") == r.findings.size(), "report and findings differ in number");
  // Messages quote the file's bytes unescaped, so markup is looked for only
  // as whole lines: no message holds a line end.
  Check(Count(xml, "\n    <ParecerFinal>\n") == 1, "no single verdict");

  Check(r.file_size == static_cast<int64_t>(size), "file size");
  Check(r.sha256.size() == 64, "digest of " + std::to_string(r.sha256.size()) + " digits");
  int64_t typed = 0, errors = 0, warnings = 0;
  for (const volp::TypeSummary& t : r.types) {
    Check(t.rejected >= 0 && t.total >= 0, "negative counts of " + t.code);
    typed += t.total;
    errors += t.errors;
    warnings += t.warnings;
  }
  Check(typed + r.unknown_records <= r.records_read, "more records counted than read");
  // (The rejected-line count is no bound: a line counts again each time the
  // findings come back to it from another line, as the end-of-group checks do.)
  Check(r.rejected_lines >= 0, "negative rejected lines");
  Check(errors <= r.errors && warnings <= r.warnings, "per-type findings above the totals");
  for (const volp::Finding& f : r.findings) {
    Check(f.line >= 0 && f.line <= r.records_read, "finding past the last line");
    Check(f.offset >= 0 && f.offset <= r.file_size, "finding past the end of the file");
    Check(f.severity >= 1 && f.severity <= 3, "severity");
  }
  // A summary only for a file without errors.
  Check(std::filesystem::exists(ScratchDir() + "/decl.rcad.txt") == (r.errors == 0),
        "summary present " + std::to_string(r.errors) + " errors");
  return 0;
}
