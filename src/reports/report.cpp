// The validation report "<stem>.validacao.xml".
//
// Every write goes to the working file "<name>.parcial" first, so a reader of
// the report name never sees a half-written document. The working file is
// made new at the run's first write and held open to the end, so its name is
// opened once and never through a link: partial writes during the reading
// replace its contents, the final write leaves a document open so the
// summary file's writing time can still be added, and the completing write
// finishes it, waits until it is on the disk and renames it over the report
// name. Every write, flush and close is checked: a document that did not get
// out whole is never put in place, and a failed write leaves the working file
// empty rather than cut short. The previous report stays until the new one
// replaces it whole.
//
// All texts are Latin-1 bytes already (the input's own bytes and the _l1
// literals); the working file is a text file, so its lines end in "\n" here
// and in CR LF on Windows.
#include "reports/report.hpp"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <vector>

#include "core/context.hpp"
#include "core/format.hpp"
#include "core/latin1.hpp"
#include "core/record_types.hpp"
#include "platform/platform.hpp"
#include "platform/system.hpp"

namespace volp {

namespace {

constexpr int kCreateAttempts = 10;
constexpr int kCreateRetryMs = 10;
constexpr std::time_t kPartialIntervalS = 5;

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

// A write, flush or close of the working file failed (a full disk, an I/O
// error): the document on disk is cut short.
void LogWriteFailure(Run& run, int error) {
  run.log.Write(0, "E#C9121: Erro ao tentar gravar o arquivo %s: %s\n",
                run.ctx.report_work_name.c_str(), platform::ErrorText(error).c_str());
}

// Makes the working file ready for a whole new document. It is created once
// per run, new (never a file that is there, never through a link: the run
// cleared the name at set-up, so anything found there now was put there
// since) and private to the user, and then kept open: every later write
// empties it and starts again, so the name is never opened a second time
// (unless the file was taken away from it, when a new one is made the same
// way). False after 10 failed attempts.
bool CreateWorkingFile(Run& run, platform::OutputFile& f) {
  const std::string& name = run.ctx.report_work_name;
  if (f.is_open()) {
    if (f.NamedBy(name)) {
      if (f.Restart()) return true;
      LogWriteFailure(run, f.error());
      return false;
    }
    // Someone removed or replaced the working file: what is written to the
    // open file could never take the report's name. A new one is made.
    f.Close();
  }
  int error = 0;
  for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
    bool refused = false;
    if (platform::ClearStaleFile(name, &refused, &error) &&
        f.Create(name, true, platform::Access::kPrivate, &error)) {
      run.log.Write(3, "Abriu %s com descritor: %d\n", name.c_str(), f.descriptor());
      return true;
    }
    run.log.Write(3, "E#C9105: Erro ao tentar criar o arquivo %s na tentativa %d: %s\n",
                  name.c_str(), attempt, platform::ErrorText(error).c_str());
    platform::SleepMs(kCreateRetryMs);
  }
  run.log.Write(0, "E#C9104: Erro ao tentar criar o arquivo %s após %d tentativas: %s\n"_l1,
                name.c_str(), kCreateAttempts, platform::ErrorText(error).c_str());
  return false;
}

// Closes the working file and checks that every byte got there.
bool CloseWorkingFile(Run& run, platform::OutputFile& f) {
  const int fd = f.descriptor();
  if (!f.Close()) {
    LogWriteFailure(run, f.error());
    return false;
  }
  run.log.Write(3, "Fechou %s com descritor: %d\n", run.ctx.report_work_name.c_str(), fd);
  return true;
}

// What a failed write leaves is no document: the working file is emptied, so
// that whoever reads it for progress finds nothing rather than a cut report.
// One that cannot even be emptied is closed and goes.
void DiscardWorkingFile(Run& run, platform::OutputFile& f) {
  if (f.is_open() && f.Restart() && f.Flush()) return;
  if (f.is_open()) f.Close();
  platform::RemoveFile(run.ctx.report_work_name);
}

// "    <Tag>value</Tag>" for the optional values of the file's header, left
// out when empty.
void Optional(platform::OutputFile& f, const char* tag, const std::string& value) {
  if (!value.empty()) f.Printf("    <%s>%s</%s>\n", tag, value.c_str(), tag);
}

// The field analysis reports a field holding bytes that have no place in
// the text ("... não representável na codificação ASC-II ...") and that
// finding alone leaves the field's content out. Any other finding lists the
// content as it is, whatever bytes it holds.
bool OmitContent(const Finding& f) {
  static const std::string_view kMarker = "não representável na codificação ASC-II"_l1;
  return f.message.size() >= 39 && f.message.find(kMarker) != std::string::npos;
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

void WriteHeader(platform::OutputFile& f, const Run& run) {
  const ValidationContext& c = run.ctx;
  const ProcessState& ps = run.ps;
  f.Put("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<VOLP>\n  <DadosDLL>\n");
  f.Printf("    <VersaoDLL>%s</VersaoDLL>\n", ps.version_dll.c_str());
  if (!ps.version_zulkop.empty())
    f.Printf("    <VersaoZulKop>%s</VersaoZulKop>\n", ps.version_zulkop.c_str());
  f.Put("  </DadosDLL>\n  <DadosArquivo>\n");
  const int64_t read = c.records_read_at_end != 0 ? c.records_read_at_end : c.records_read;
  f.Printf("    <NomeArquivo>%s</NomeArquivo>\n", c.path.c_str());
  f.Printf("    <TamanhoArquivo>%" PRId64 "</TamanhoArquivo>\n", c.file_size);
  f.Printf("    <NumeroRegistrosInformado>%" PRId64 "</NumeroRegistrosInformado>\n",
           c.declared_lines);
  f.Printf("    <NumeroRegistrosLido>%" PRId64 "</NumeroRegistrosLido>\n", read);
  f.Printf("    <NumeroRegistrosTotal>%" PRId64 "</NumeroRegistrosTotal>\n", RecordsTotal(ps));
  f.Printf("    <MaiorTamanhoRegistro>%" PRId64 "</MaiorTamanhoRegistro>\n", c.longest);
  f.Printf("    <MedioTamanhoRegistro>%d</MedioTamanhoRegistro>\n", c.average);
  f.Printf("    <MenorTamanhoRegistro>%" PRId64 "</MenorTamanhoRegistro>\n", c.shortest);
  f.Printf("    <sha256Arquivo>%s</sha256Arquivo>\n", c.sha256.c_str());

  Optional(f, "VersaoLayout", c.cod_ver);
  if (c.finalidade >= 1 && c.finalidade <= kFinalidadeCount)
    f.Printf("    <FinalidadeArquivo>%s</FinalidadeArquivo>\n", kFinalidades[c.finalidade - 1]);
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
    f.Printf("    <TipoAmbiente>%s</TipoAmbiente>\n", kAmbientes[c.tp_amb - 1]);
  Optional(f, "UF_Instituicao", c.uf);
  Optional(f, "AnoMesValidacao", c.mes_val);

  if (!c.line_offsets.empty()) {
    f.Put("    <CacheLinhas>\n");
    f.Printf("      <LinhasPorDeslocamento>%" PRId64 "</LinhasPorDeslocamento>\n",
             kLinhasPorDeslocamento);
    for (int64_t off : c.line_offsets)
      f.Printf("      <Deslocamento>%" PRId64 "</Deslocamento>\n", off);
    f.Put("    </CacheLinhas>\n");
  }
  f.Put("  </DadosArquivo>\n");
}

void WriteFindings(platform::OutputFile& f, const FindingsCollector& fc) {
  if (fc.list.empty()) return;
  // Sorted by line through a stable index sort: the findings of one line
  // keep the order in which they were found, so the same file always gives
  // the same report, and the list itself keeps its recording order.
  std::vector<uint32_t> order(fc.list.size());
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(),
                   [&](uint32_t a, uint32_t b) { return fc.list[a].line < fc.list[b].line; });

  f.Put("  <Criticas>\n");
  for (uint32_t i : order) {
    const Finding& e = fc.list[i];
    f.Put("  <Erro>\n");
    f.Printf("      <TR>%s</TR>\n", e.record_type.c_str());
    f.Printf("      <Linha>%" PRId64 "</Linha>\n", e.line);
    f.Printf("      <PosicaoNoArquivo>%" PRId64 "</PosicaoNoArquivo>\n", e.offset);
    // Messages and contents go out as they are; only the header's free texts
    // are escaped.
    f.Printf("      <Erro>%s</Erro>\n", e.message.c_str());
    f.Printf("      <TipoErro>%s</TipoErro>\n", SeverityText(e.severity));
    if (e.field_number != 0) {
      f.Put("      <Campo>\n");
      if (!e.field_name.empty())
        f.Printf("        <Denominacao>%s</Denominacao>\n", e.field_name.c_str());
      f.Printf("        <Numero>%d</Numero>\n", e.field_number);
      f.Printf("        <PosicaoNoRegistro>%d</PosicaoNoRegistro>\n", e.column);
      if (!OmitContent(e)) f.Printf("        <Conteudo>%s</Conteudo>\n", e.content.c_str());
      f.Printf("        <Tamanho>%d</Tamanho>\n", e.length);
      f.Put("      </Campo>\n");
    }
    f.Put("  </Erro>\n");
  }
  f.Put("  </Criticas>\n");
}

// The per-type table; returns the sum of the handling times.
int64_t WriteTypeSummary(platform::OutputFile& f, const Run& run) {
  const ProcessState& ps = run.ps;
  const FindingsCollector& fc = ps.findings;
  int64_t time_us = 0;
  f.Put("  <Resumo>\n    <Registros>\n");
  for (int i = 0; i < kRecordTypeCount; ++i) {
    const TypeCounters& t = fc.per_type[i];
    const char* code = kRecordTypes[i].code;
    f.Printf("      <TR%s>\n", code);
    f.Printf("        <QtdValidos>%" PRId64 "</QtdValidos>\n", t.count - t.rejected);
    f.Printf("        <QtdRejeitados>%" PRId64 "</QtdRejeitados>\n", t.rejected);
    f.Printf("        <Total>%" PRId64 "</Total>\n", t.count);
    f.Printf("        <QtdAdvertencias>%" PRId64 "</QtdAdvertencias>\n", t.warnings);
    f.Printf("        <QtdErros>%" PRId64 "</QtdErros>\n", t.errors);
    f.Printf("        <TempoTotalProcessamento>%" PRId64 "</TempoTotalProcessamento>\n", t.time_us);
    f.Printf("      </TR%s>\n", code);
    time_us += t.time_us;
  }
  const int64_t total = RecordsTotal(ps);
  // The valid count of the file adds the unknown-type records instead of
  // taking them away; the figure is defined this way and readers of the
  // report compare it.
  f.Put("      <TotalTRs>\n");
  f.Printf("        <QtdValidos>%" PRId64 "</QtdValidos>\n",
           ps.unknown_records - fc.rejected_lines + total);
  f.Printf("        <QtdAdvertencias>%" PRId64 "</QtdAdvertencias>\n", fc.warnings);
  // These four lines are indented by seven spaces, not eight: the layout of
  // the report requires it.
  f.Printf("       <QtdRejeitados>%" PRId64 "</QtdRejeitados>\n", fc.rejected_lines);
  f.Printf("       <QtdErros>%" PRId64 "</QtdErros>\n", fc.errors);
  f.Printf("       <QtdInvalidos>%" PRId64 "</QtdInvalidos>\n", ps.unknown_records);
  f.Printf("       <Total>%" PRId64 "</Total>\n", total);
  f.Put("      </TotalTRs>\n    </Registros>\n");
  return time_us;
}

void WriteVerdict(platform::OutputFile& f, Run& run, int mode) {
  const ValidationContext& c = run.ctx;
  const ProcessState& ps = run.ps;
  f.Put("    <ParecerFinal>\n");
  if (ps.findings.rejected_lines != 0) {
    f.Put("      <ArquivoValido>2</ArquivoValido>\n");
    f.Put("      <SituacaoArquivo>Arquivo possui registros rejeitados</SituacaoArquivo>\n");
  } else if (mode == kFinal) {
    f.Put("      <ArquivoValido>0</ArquivoValido>\n");
    f.Put("      <SituacaoArquivo>Arquivo validado</SituacaoArquivo>\n");
  } else {
    f.Put("      <ArquivoValido>2</ArquivoValido>\n");
  }

  if (mode == kParcial) {
    const int64_t elapsed_us = (platform::NowNs() - c.start_ns) / 1000;
    const int64_t elapsed_s = static_cast<int64_t>(std::time(nullptr) - c.start_time);
    const std::string progress =
        SituacaoValidacao(c.end_offset, c.file_size, RecordsTotal(ps), elapsed_us, elapsed_s);
    f.Printf("      <SituacaoValidacao>%s</SituacaoValidacao>\n", progress.c_str());
    f.Printf("      <PID>%d</PID>\n", platform::ProcessId());
    run.log.Write(3, "QtTotal: %" PRId64 " TotalTempoValidador: %" PRId64 "\n", RecordsTotal(ps),
                  elapsed_us);
  } else if (ps.stop) {
    f.Put("      <SituacaoValidacao>Validação Cancelada</SituacaoValidacao>\n"_l1);
  } else if (c.end_offset != c.file_size) {
    f.Put("      <SituacaoValidacao>Validação Incompleta</SituacaoValidacao>\n"_l1);
  }

  const platform::LocalTime t = platform::Local(std::time(nullptr));
  f.Printf("      <DataHoraValidacao>%02d/%02d/%04d %02d:%02d:%02d</DataHoraValidacao>\n", t.day,
           t.month, t.year, t.hour, t.minute, t.second);
  f.Put("    </ParecerFinal>\n");
}

// The end of the document for modes 0 and 2.
void WriteTail(platform::OutputFile& f, const Run& run) {
  const int64_t elapsed_us = (platform::NowNs() - run.ctx.start_ns) / 1000;
  const int64_t elapsed_s = static_cast<int64_t>(std::time(nullptr) - run.ctx.start_time);
  f.Printf("      <ValidadorMicrosegundos>%" PRId64 "</ValidadorMicrosegundos>\n", elapsed_us);
  f.Printf("      <ValidadorSegundos>%" PRId64 "</ValidadorSegundos>\n", elapsed_s);
  f.Put("    </TotalTempos>\n  </Resumo>\n</VOLP>\n");
}

// Modes 0 and 1: a new working file from the header to the first times.
bool WriteDocument(Run& run, platform::OutputFile& f, int mode) {
  if (!CreateWorkingFile(run, f)) return false;
  WriteHeader(f, run);
  WriteFindings(f, run.ps.findings);
  const int64_t records_us = WriteTypeSummary(f, run);
  WriteVerdict(f, run, mode);
  f.Put("    <TotalTempos>\n");
  f.Printf("      <Leitura>%" PRId64 "</Leitura>\n", run.ps.read_us);
  f.Printf("      <Varredura>%" PRId64 "</Varredura>\n", run.ps.scan_us);
  f.Printf("      <Registros>%" PRId64 "</Registros>\n", records_us);
  return true;
}

// Puts the finished working file in place of the report in one step: a
// reader of the report name sees the previous report or the new one, never
// a part of either. A reader holding the file open may make the rename fail
// for a moment on some systems, so it is tried again as the creation is.
bool PutInPlace(Run& run) {
  ValidationContext& c = run.ctx;
  int error = 0;
  for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
    if (platform::RenameOver(c.report_work_name, c.report_name, &error)) return true;
    platform::SleepMs(kCreateRetryMs);
  }
  c.keep_work_file = true;
  run.log.Write(0, "E#C9106: Não conseguiu copiar o arquivo %s para %s. Erro 0x%08x - %s\n"_l1,
                c.report_work_name.c_str(), c.report_name.c_str(), static_cast<unsigned>(error),
                platform::ErrorText(error).c_str());
  return false;
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

  platform::OutputFile& f = c.report_file;
  if (mode == kParcial || mode == kFinal) {
    c.report_pending = false;
    // A working file that cannot be created leaves the report missing while
    // the write still counts as done; the completing write then finds
    // nothing to put in place.
    if (!WriteDocument(run, f, mode)) return 0;
    if (mode == kFinal) {
      // Kept open: the completing write adds the times of this write and of
      // the summary file. What is written so far must already be on its way.
      if (!f.Flush()) {
        LogWriteFailure(run, f.error());
        DiscardWorkingFile(run, f);
        return 0;
      }
      c.report_pending = true;
      return 0;
    }
    // A whole partial document, handed to the system for whoever reads the
    // progress; the file stays open for the next one.
    WriteTail(f, run);
    if (!f.Flush()) {
      LogWriteFailure(run, f.error());
      DiscardWorkingFile(run, f);
    }
    return 0;
  }

  // Completing mode.
  if (!c.report_pending) {
    // The final write never got its document out: whatever an earlier
    // partial write left must not become the report.
    return mode - 1;
  }
  c.report_pending = false;
  f.Printf("      <GravacaoValidacao>%" PRId64 "</GravacaoValidacao>\n", ps.report_us);
  f.Printf("      <GravacaoRCAD>%" PRId64 "</GravacaoRCAD>\n", ps.summary_us);
  WriteTail(f, run);
  // Readable as any report once it has its name, and on the disk before it
  // takes it.
  if (!f.Share() || !f.Sync()) {
    LogWriteFailure(run, f.error());
    DiscardWorkingFile(run, f);
    return mode - 1;
  }
  if (!CloseWorkingFile(run, f)) {
    DiscardWorkingFile(run, f);
    return mode - 1;
  }
  // The working file stays when it cannot be put in place: it is the whole
  // report, under its working name.
  if (!PutInPlace(run)) return mode - 1;
  return 0;
}

}  // namespace volp
