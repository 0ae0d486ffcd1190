// The validation report "<stem>.validacao.xml".
//
// Every write goes to the working file "<name>.parcial" first, so a reader of
// the report name never sees a half-written document: partial writes during
// the reading refresh the working file, the final write leaves it open so the
// summary file's writing time can still be added, and the completing write
// closes it and copies it over the report name.
//
// All texts are Latin-1 bytes already (the input's own bytes and the _l1
// literals); the file is written in text mode, so its lines end in CR LF on
// Windows and in LF on POSIX.
#include "reports/report.hpp"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <vector>

#include "layout/latin1.hpp"
#include "layout/tables.hpp"
#include "platform/platform.hpp"
#include "platform/system.hpp"
#include "reports/format.hpp"
#include "validation/context.hpp"

namespace volp {

namespace {

constexpr int kCreateAttempts = 10;
constexpr int kCreateRetryMs = 10;
constexpr std::time_t kPartialIntervalS = 5;

int Descriptor(std::FILE* f) {
#if defined(_WIN32)
  return _fileno(f);
#else
  return fileno(f);
#endif
}

// The versions are looked up once per process: the library's own and the
// transmitter's beside it (on Windows from their version resources). A
// failed lookup is said in the log and leaves that call without a report.
int LoadVersions(Run& run, ProcessState& ps) {
  if (ps.versions_loaded) return 0;
  platform::Versions v = platform::ReadVersions();
  if (v.failure == 9100) {
    run.log.Write(0, "E#C9100: Não achou a DLL %s !\n%s\n"_l1, "volp.dll", v.why.c_str());
    return -1;
  }
  if (v.failure == 9101) {
    run.log.Write(0, "E#C9101: Não achou o nome completo da DLL %s !\n%s\n"_l1, "volp.dll",
                  v.why.c_str());
    return -1;
  }
  if (v.failure != 0) {
    run.log.Write(0, "%s\n", v.why.c_str());
    return -1;
  }
  ps.version_dll = v.library;
  ps.version_zulkop = v.transmitter;
  ps.versions_loaded = true;
  return 0;
}

std::FILE* CreateWorkingFile(Run& run, const std::string& name) {
  int error = 0;
  for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
    // Text mode: the report's lines end as the system's text files do (CR LF
    // on Windows, LF on POSIX).
    std::FILE* f = std::fopen(name.c_str(), "w");
    if (f != nullptr) {
      run.log.Write(3, "Abriu %s com descritor: %d\n", name.c_str(), Descriptor(f));
      return f;
    }
    error = platform::LastError();
    run.log.Write(3, "E#C9105: Erro ao tentar criar o arquivo %s na tentativa %d: %s\n",
                  name.c_str(), attempt, platform::ErrorText(error).c_str());
    platform::SleepMs(kCreateRetryMs);
  }
  run.log.Write(0, "E#C9104: Erro ao tentar criar o arquivo %s após %d tentativas: %s\n"_l1,
                name.c_str(), kCreateAttempts, platform::ErrorText(error).c_str());
  return nullptr;
}

void CloseWorkingFile(Run& run, std::FILE* f) {
  const int fd = Descriptor(f);
  std::fclose(f);
  run.log.Write(3, "Fechou %s com descritor: %d\n", run.ctx.report_work_name.c_str(), fd);
}

// "    <Tag>value</Tag>" for the optional values of the file's header, left
// out when empty.
void Optional(std::FILE* f, const char* tag, const std::string& value) {
  if (!value.empty()) std::fprintf(f, "    <%s>%s</%s>\n", tag, value.c_str(), tag);
}

bool IsLatin1Text(std::string_view s) {
  for (char ch : s) {
    const unsigned char c = static_cast<unsigned char>(ch);
    if (c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F)) return false;
  }
  return true;
}

// The content of a field with bytes that are not Latin-1 text stays out of
// the report, so such bytes never reach the XML. The field analysis names
// those fields in its message; a field whose content has such bytes but was
// reported for another reason (a numeric field holding a control character)
// is left out as well.
bool OmitContent(const Finding& f) {
  static const std::string_view kMarker = "não representável na codificação ASC-II"_l1;
  if (f.message.size() >= 39 && f.message.find(kMarker) != std::string::npos) return true;
  return !IsLatin1Text(f.content);
}

const char* SeverityText(int32_t severity) {
  switch (severity) {
    case 1:
      return "Advertência"_l1;
    case 2:
    case 3:
      return "Rejeição"_l1;
    default:
      return "???";
  }
}

int64_t RecordsTotal(const ProcessState& ps) { return ps.known_records + ps.unknown_records; }

void WriteHeader(std::FILE* f, const Run& run) {
  const ValidationContext& c = run.ctx;
  const ProcessState& ps = run.ps;
  std::fputs("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<VOLP>\n  <DadosDLL>\n", f);
  std::fprintf(f, "    <VersaoDLL>%s</VersaoDLL>\n", ps.version_dll.c_str());
  if (!ps.version_zulkop.empty())
    std::fprintf(f, "    <VersaoZulKop>%s</VersaoZulKop>\n", ps.version_zulkop.c_str());
  std::fputs("  </DadosDLL>\n  <DadosArquivo>\n", f);
  const int64_t read = c.records_read_at_end != 0 ? c.records_read_at_end : c.records_read;
  std::fprintf(f, "    <NomeArquivo>%s</NomeArquivo>\n", c.path.c_str());
  std::fprintf(f, "    <TamanhoArquivo>%" PRId64 "</TamanhoArquivo>\n", c.file_size);
  std::fprintf(f, "    <NumeroRegistrosInformado>%" PRId64 "</NumeroRegistrosInformado>\n",
               c.declared_lines);
  std::fprintf(f, "    <NumeroRegistrosLido>%" PRId64 "</NumeroRegistrosLido>\n", read);
  std::fprintf(f, "    <NumeroRegistrosTotal>%" PRId64 "</NumeroRegistrosTotal>\n",
               RecordsTotal(ps));
  std::fprintf(f, "    <MaiorTamanhoRegistro>%" PRId64 "</MaiorTamanhoRegistro>\n", c.longest);
  std::fprintf(f, "    <MedioTamanhoRegistro>%d</MedioTamanhoRegistro>\n", c.average);
  std::fprintf(f, "    <MenorTamanhoRegistro>%" PRId64 "</MenorTamanhoRegistro>\n", c.shortest);
  std::fprintf(f, "    <sha256Arquivo>%s</sha256Arquivo>\n", c.sha256.c_str());

  Optional(f, "VersaoLayout", c.cod_ver);
  if (c.finalidade >= 1 && c.finalidade <= kFinalidadeCount)
    std::fprintf(f, "    <FinalidadeArquivo>%s</FinalidadeArquivo>\n",
                 kFinalidades[c.finalidade - 1]);
  Optional(f, "UF_Fisco", c.uf_fisco);
  Optional(f, "CNPJ_Instituicao", c.cnpj);
  // The four free texts typed by people are the only escaped values.
  Optional(f, "NomeInstituicao", XmlEscape(c.nome));
  Optional(f, "EnderecoInstituicao", XmlEscape(c.endereco));
  Optional(f, "CEP_Instituicao", c.cep);
  Optional(f, "ContatoInstituicao", XmlEscape(c.contato));
  Optional(f, "EmailContato", XmlEscape(c.email));
  Optional(f, "DataInicial", c.dt_ini);
  Optional(f, "DataFinal", c.dt_fin);
  if (c.tp_amb == 1 || c.tp_amb == 2)
    std::fprintf(f, "    <TipoAmbiente>%s</TipoAmbiente>\n", kAmbientes[c.tp_amb - 1]);
  Optional(f, "UF_Instituicao", c.uf);
  Optional(f, "AnoMesValidacao", c.mes_val);

  if (!c.line_offsets.empty()) {
    std::fputs("    <CacheLinhas>\n", f);
    std::fprintf(f, "      <LinhasPorDeslocamento>%" PRId64 "</LinhasPorDeslocamento>\n",
                 kLinhasPorDeslocamento);
    for (int64_t off : c.line_offsets)
      std::fprintf(f, "      <Deslocamento>%" PRId64 "</Deslocamento>\n", off);
    std::fputs("    </CacheLinhas>\n", f);
  }
  std::fputs("  </DadosArquivo>\n", f);
}

void WriteFindings(std::FILE* f, const FindingsCollector& fc) {
  if (fc.list.empty()) return;
  // Sorted by line through a stable index sort: the findings of one line
  // keep the order in which they were found, so the same file always gives
  // the same report, and the list itself keeps its recording order.
  std::vector<uint32_t> order(fc.list.size());
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(),
                   [&](uint32_t a, uint32_t b) { return fc.list[a].line < fc.list[b].line; });

  std::fputs("  <Criticas>\n", f);
  for (uint32_t i : order) {
    const Finding& e = fc.list[i];
    std::fputs("  <Erro>\n", f);
    std::fprintf(f, "      <TR>%s</TR>\n", e.record_type.c_str());
    std::fprintf(f, "      <Linha>%" PRId64 "</Linha>\n", e.line);
    std::fprintf(f, "      <PosicaoNoArquivo>%" PRId64 "</PosicaoNoArquivo>\n", e.offset);
    // Messages and contents go out as they are; only the header's free texts
    // are escaped.
    std::fprintf(f, "      <Erro>%s</Erro>\n", e.message.c_str());
    std::fprintf(f, "      <TipoErro>%s</TipoErro>\n", SeverityText(e.severity));
    if (e.field_number != 0) {
      std::fputs("      <Campo>\n", f);
      if (!e.field_name.empty())
        std::fprintf(f, "        <Denominacao>%s</Denominacao>\n", e.field_name.c_str());
      std::fprintf(f, "        <Numero>%d</Numero>\n", e.field_number);
      std::fprintf(f, "        <PosicaoNoRegistro>%d</PosicaoNoRegistro>\n", e.column);
      if (!OmitContent(e)) std::fprintf(f, "        <Conteudo>%s</Conteudo>\n", e.content.c_str());
      std::fprintf(f, "        <Tamanho>%d</Tamanho>\n", e.length);
      std::fputs("      </Campo>\n", f);
    }
    std::fputs("  </Erro>\n", f);
  }
  std::fputs("  </Criticas>\n", f);
}

// The per-type table; returns the sum of the handling times.
int64_t WriteTypeSummary(std::FILE* f, const Run& run) {
  const ProcessState& ps = run.ps;
  const FindingsCollector& fc = ps.findings;
  int64_t time_us = 0;
  std::fputs("  <Resumo>\n    <Registros>\n", f);
  for (int i = 0; i < kRecordTypeCount; ++i) {
    const TypeCounters& t = fc.per_type[i];
    const char* code = kRecordTypes[i].code;
    std::fprintf(f, "      <TR%s>\n", code);
    std::fprintf(f, "        <QtdValidos>%" PRId64 "</QtdValidos>\n", t.count - t.rejected);
    std::fprintf(f, "        <QtdRejeitados>%" PRId64 "</QtdRejeitados>\n", t.rejected);
    std::fprintf(f, "        <Total>%" PRId64 "</Total>\n", t.count);
    std::fprintf(f, "        <QtdAdvertencias>%" PRId64 "</QtdAdvertencias>\n", t.warnings);
    std::fprintf(f, "        <QtdErros>%" PRId64 "</QtdErros>\n", t.errors);
    std::fprintf(f, "        <TempoTotalProcessamento>%" PRId64 "</TempoTotalProcessamento>\n",
                 t.time_us);
    std::fprintf(f, "      </TR%s>\n", code);
    time_us += t.time_us;
  }
  const int64_t total = RecordsTotal(ps);
  // The unknown-type records are added here, not taken away: the figure has
  // always been computed this way and readers of the report compare it.
  std::fputs("      <TotalTRs>\n", f);
  std::fprintf(f, "        <QtdValidos>%" PRId64 "</QtdValidos>\n",
               ps.unknown_records - fc.rejected_lines + total);
  std::fprintf(f, "        <QtdAdvertencias>%" PRId64 "</QtdAdvertencias>\n", fc.warnings);
  // These four lines are indented by seven spaces, as they always were.
  std::fprintf(f, "       <QtdRejeitados>%" PRId64 "</QtdRejeitados>\n", fc.rejected_lines);
  std::fprintf(f, "       <QtdErros>%" PRId64 "</QtdErros>\n", fc.errors);
  std::fprintf(f, "       <QtdInvalidos>%" PRId64 "</QtdInvalidos>\n", ps.unknown_records);
  std::fprintf(f, "       <Total>%" PRId64 "</Total>\n", total);
  std::fputs("      </TotalTRs>\n    </Registros>\n", f);
  return time_us;
}

void WriteVerdict(std::FILE* f, Run& run, int mode) {
  const ValidationContext& c = run.ctx;
  const ProcessState& ps = run.ps;
  std::fputs("    <ParecerFinal>\n", f);
  if (ps.findings.rejected_lines != 0) {
    std::fputs("      <ArquivoValido>2</ArquivoValido>\n", f);
    std::fputs("      <SituacaoArquivo>Arquivo possui registros rejeitados</SituacaoArquivo>\n", f);
  } else if (mode == kFinal) {
    std::fputs("      <ArquivoValido>0</ArquivoValido>\n", f);
    std::fputs("      <SituacaoArquivo>Arquivo validado</SituacaoArquivo>\n", f);
  } else {
    std::fputs("      <ArquivoValido>2</ArquivoValido>\n", f);
  }

  if (mode == kParcial) {
    const int64_t elapsed_us = (platform::NowNs() - c.start_ns) / 1000;
    const int64_t elapsed_s = static_cast<int64_t>(std::time(nullptr) - c.start_time);
    const std::string progress =
        SituacaoValidacao(c.end_offset, c.file_size, RecordsTotal(ps), elapsed_us, elapsed_s);
    std::fprintf(f, "      <SituacaoValidacao>%s</SituacaoValidacao>\n", progress.c_str());
    std::fprintf(f, "      <PID>%d</PID>\n", platform::ProcessId());
    run.log.Write(3, "QtTotal: %" PRId64 " TotalTempoValidador: %" PRId64 "\n", RecordsTotal(ps),
                  elapsed_us);
  } else if (ps.stop) {
    std::fputs("      <SituacaoValidacao>Validação Cancelada</SituacaoValidacao>\n"_l1, f);
  } else if (c.end_offset != c.file_size) {
    std::fputs("      <SituacaoValidacao>Validação Incompleta</SituacaoValidacao>\n"_l1, f);
  }

  const platform::LocalTime t = platform::Local(std::time(nullptr));
  std::fprintf(f, "      <DataHoraValidacao>%02d/%02d/%04d %02d:%02d:%02d</DataHoraValidacao>\n",
               t.day, t.month, t.year, t.hour, t.minute, t.second);
  std::fputs("    </ParecerFinal>\n", f);
}

// The end of the document for modes 0 and 2.
void WriteTail(std::FILE* f, const Run& run) {
  const int64_t elapsed_us = (platform::NowNs() - run.ctx.start_ns) / 1000;
  const int64_t elapsed_s = static_cast<int64_t>(std::time(nullptr) - run.ctx.start_time);
  std::fprintf(f, "      <ValidadorMicrosegundos>%" PRId64 "</ValidadorMicrosegundos>\n",
               elapsed_us);
  std::fprintf(f, "      <ValidadorSegundos>%" PRId64 "</ValidadorSegundos>\n", elapsed_s);
  std::fputs("    </TotalTempos>\n  </Resumo>\n</VOLP>\n", f);
}

// Modes 0 and 1: a new working file from the header to the first times.
std::FILE* WriteDocument(Run& run, int mode) {
  std::FILE* f = CreateWorkingFile(run, run.ctx.report_work_name);
  if (f == nullptr) return nullptr;
  WriteHeader(f, run);
  WriteFindings(f, run.ps.findings);
  const int64_t records_us = WriteTypeSummary(f, run);
  WriteVerdict(f, run, mode);
  std::fputs("    <TotalTempos>\n", f);
  std::fprintf(f, "      <Leitura>%" PRId64 "</Leitura>\n", run.ps.read_us);
  std::fprintf(f, "      <Varredura>%" PRId64 "</Varredura>\n", run.ps.scan_us);
  std::fprintf(f, "      <Registros>%" PRId64 "</Registros>\n", records_us);
  return f;
}

}  // namespace

std::string SituacaoValidacao(int64_t bytes_read, int64_t file_size, int64_t records,
                              int64_t elapsed_us, int64_t elapsed_s) {
  const int64_t permille = file_size > 0 ? bytes_read * 1000 / file_size : 0;

  char speed[48];
  const int64_t whole_s = elapsed_us / 1000000;
  if (elapsed_us <= 1000000 || records == 0 || whole_s == 0) {
    std::snprintf(speed, sizeof speed, "%d reg/s", 0);
  } else {
    const int64_t per_s = records / whole_s;
    if (per_s >= 1001)
      std::snprintf(speed, sizeof speed, "%d.%03d reg/s", static_cast<int>(per_s / 1000),
                    static_cast<int>(per_s % 1000));
    else
      std::snprintf(speed, sizeof speed, "%d reg/s", static_cast<int>(per_s));
  }

  // Bytes per second so far, counting the current second as begun.
  const int64_t rate = bytes_read / (elapsed_s + 1);
  const int64_t left = rate > 0 ? (file_size - bytes_read) / rate : 0;
  char remaining[64];
  if (left >= 3600)
    std::snprintf(remaining, sizeof remaining, "terminando em %dh%dmin.",
                  static_cast<int>(left / 3600), static_cast<int>(left % 3600 / 60));
  else if (left >= 60)
    std::snprintf(remaining, sizeof remaining, "terminando em %dmin%ds.",
                  static_cast<int>(left / 60), static_cast<int>(left % 60));
  else
    std::snprintf(remaining, sizeof remaining, "terminando em %ds.", static_cast<int>(left));

  char out[160];
  std::snprintf(out, sizeof out, "%d,%d%% do arquivo a %s %s", static_cast<int>(permille / 10),
                static_cast<int>(permille % 10), speed, remaining);
  return out;
}

int GerarArquivoValidacao(Run& run, int mode) {
  ValidationContext& c = run.ctx;
  ProcessState& ps = run.ps;

  if (mode == kParcial) {
    const std::time_t now = std::time(nullptr);
    if (now - ps.last_partial_write < kPartialIntervalS) return 0;
    ps.last_partial_write = now;
  }
  run.log.Write(3, "GerarArquivoValidacao(0x%08x, %s, %d)\n",
                static_cast<unsigned>(reinterpret_cast<uintptr_t>(&c)), c.report_name.c_str(),
                mode);
  if (LoadVersions(run, ps) != 0) return -1;
  c.report_work_name = c.report_name + ".parcial";

  if (mode == kParcial || mode == kFinal) {
    if (c.report_file != nullptr) {
      // A document left open by an earlier final write is replaced.
      std::fclose(c.report_file);
      c.report_file = nullptr;
    }
    std::FILE* f = WriteDocument(run, mode);
    // A working file that cannot be created leaves the report missing while
    // the write still counts as done; the completing write then finds
    // nothing to put in place.
    if (f == nullptr) return 0;
    if (mode == kFinal) {
      // Kept open: the completing write adds the times of this write and of
      // the summary file.
      std::fflush(f);
      c.report_file = f;
      return 0;
    }
    WriteTail(f, run);
    CloseWorkingFile(run, f);
    return 0;
  }

  // Completing mode.
  std::FILE* f = c.report_file;
  c.report_file = nullptr;
  if (f == nullptr) {
    // The final write never got its working file: whatever an earlier
    // partial write left must not become the report.
    return mode - 1;
  }
  std::fprintf(f, "      <GravacaoValidacao>%" PRId64 "</GravacaoValidacao>\n", ps.report_us);
  std::fprintf(f, "      <GravacaoRCAD>%" PRId64 "</GravacaoRCAD>\n", ps.summary_us);
  WriteTail(f, run);
  CloseWorkingFile(run, f);

  int error = 0;
  if (!platform::CopyFileOver(c.report_work_name, c.report_name, &error)) {
    run.log.Write(0, "E#C9106: Não conseguiu copiar o arquivo %s para %s. Erro 0x%08x - %s\n"_l1,
                  c.report_work_name.c_str(), c.report_name.c_str(), static_cast<unsigned>(error),
                  platform::ErrorText(error).c_str());
    return mode - 1;
  }
  platform::RemoveFile(c.report_work_name);
  return 0;
}

}  // namespace volp
