// The report writer on any findings and header values: the final and the
// completing writes succeed, the report is whole and lists every finding,
// the escaped header values hold no markup, and a field's content is listed
// for every finding about a field but the one that says it is not text.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>

#include "core/context.hpp"
#include "core/latin1.hpp"
#include "core/record_types.hpp"
#include "fields/municipios.hpp"
#include "fuzz_support.hpp"
#include "platform/platform.hpp"
#include "reports/report.hpp"
#include "rules/state.hpp"

namespace {

// The text of the header element `tag`, or "" when absent. Looked for as a
// whole line: messages and contents are written unescaped and may hold any
// markup, but never a line end.
std::string Element(const std::string& xml, const std::string& tag) {
  const std::string open = "\n    <" + tag + ">", close = "</" + tag + ">\n";
  const size_t a = xml.find(open);
  if (a == std::string::npos) return "";
  const size_t b = xml.find(close, a);
  volp::fuzz::Check(b != std::string::npos, tag + " not closed");
  return xml.substr(a + open.size(), b - a - open.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace volp::fuzz;
  FuzzedDataProvider in(data, size);
  volp::ProcessState ps;
  volp::Log log;
  volp::Municipios municipios;
  volp::RunOptions options;
  volp::RuleStates rules;
  volp::Run run(ps, log, municipios, options, rules.block0, rules.block1, rules.block9);
  volp::ValidationContext& c = run.ctx;
  c.path = ScratchDir() + "/decl.txt";
  c.report_name = ScratchDir() + "/decl.validacao.xml";
  c.start_ns = volp::platform::NowNs();
  c.start_time = std::time(nullptr);
  // Texts as the reader hands them over: a line ends at its LF, so no field
  // (the header's values, a message, a field's content) holds one.
  auto text = [&](size_t max) {
    std::string t = in.ConsumeRandomLengthString(max);
    for (char& ch : t)
      if (ch == '\n') ch = ' ';
    return t;
  };
  c.file_size = in.ConsumeIntegral<int64_t>();
  c.end_offset = in.ConsumeIntegral<int64_t>();
  c.finalidade = in.ConsumeIntegralInRange(-1, 8);
  c.tp_amb = in.ConsumeIntegralInRange(-1, 3);
  c.nome = text(200);
  c.endereco = text(200);
  c.contato = text(200);
  c.email = text(200);
  c.cod_ver = text(10);
  ps.stop = in.ConsumeBool();
  size_t findings = 0;
  std::string contents[64];
  while (in.remaining_bytes() > 0 && findings < 64) {
    const int type = in.ConsumeIntegralInRange(-1, volp::kRecordTypeCount - 1);
    const int32_t field = in.ConsumeIntegralInRange(0, 40);
    contents[findings] = text(300);
    const volp::FieldRef ref{"Campo", in.ConsumeIntegral<int16_t>(), contents[findings],
                             in.ConsumeIntegral<int16_t>()};
    const int32_t severity = in.ConsumeIntegralInRange(0, 4);
    const std::string message = text(300);
    run.ReportTextAt(in.ConsumeIntegral<int32_t>(), in.ConsumeIntegral<int32_t>(), type, field,
                     field != 0 ? &ref : nullptr, severity, message);
    ++findings;
  }

  Check(volp::GerarArquivoValidacao(run, volp::kFinal) == 0, "final write");
  Check(volp::GerarArquivoValidacao(run, volp::kCompletar) == 0, "completing write");
  const std::string xml = ReadAll(c.report_name);
  Check(xml.ends_with("  </Resumo>\n</VOLP>\n"), "report not whole");
  Check(!std::filesystem::exists(c.report_name + ".parcial"), "working file left");
  Check(Count(xml, "\n  <Erro>\n") == ps.findings.list.size(), "findings listed");
  for (const char* tag :
       {"NomeInstituicao", "EnderecoInstituicao", "ContatoInstituicao", "EmailContato"}) {
    const std::string v = Element(xml, tag);
    Check(v.find('<') == std::string::npos && v.find('>') == std::string::npos,
          std::string(tag) + " not escaped");
  }
  // Every finding about a field lists the field's content, whatever bytes it
  // holds, except the finding that says the field holds bytes that are not
  // text: that one leaves the content out.
  using volp::operator""_l1;
  const std::string_view marker = "não representável na codificação ASC-II"_l1;
  size_t with_content = 0;
  for (const volp::Finding& f : ps.findings.list)
    if (f.field_number != 0 && f.message.find(marker) == std::string::npos) ++with_content;
  constexpr std::string_view kOpen = "        <Conteudo>", kClose = "</Conteudo>";
  size_t listed = 0;
  for (size_t at = 0; at < xml.size();) {
    size_t end = xml.find('\n', at);
    if (end == std::string::npos) end = xml.size();
    const std::string_view line(xml.data() + at, end - at);
    if (line.starts_with(kOpen)) {
      Check(line.ends_with(kClose), "Conteudo not closed on its line");
      ++listed;
    }
    at = end + 1;
  }
  Check(listed == with_content, "a field's content left out or listed where it must not be");
  return 0;
}
