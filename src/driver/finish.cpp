// The end sequence of a validation run: the digest finished, the checks of
// the file as a whole, the final report, the summary of a run without errors
// and the completing write that puts the report in place.
#include <ctime>

#include "core/latin1.hpp"
#include "driver/phases.hpp"
#include "reports/report.hpp"
#include "rules/block0.hpp"
#include "rules/block9.hpp"
#include "rules/sequence.hpp"
#include "structure/states.hpp"

namespace volp {

void BeforeReport(ProcessState& ps, ValidationContext& ctx) {
  MedirMedia(ctx);
  ps.read_us = platform::TicksToNs(ps.read_ticks) / 1000;
  ps.scan_us = platform::TicksToNs(ps.scan_ticks) / 1000;
  for (TypeCounters& t : ps.findings.per_type) t.time_us = platform::TicksToNs(t.time_ticks) / 1000;
}

int Encerrar(Run& run, platform::InputFile& file, Sha256& sha, LineSource& source,
             int64_t hashed_to, const std::string& summary_name, UnfinishedOutputs& outputs,
             RunSummary* summary) {
  ProcessState& ps = run.ps;
  ValidationContext& ctx = run.ctx;
  Log& log = run.log;
  const std::string& path = ctx.path;

  ctx.records_read_at_end = ctx.records_read;
  const bool hash_ok = source.FinishHash(hashed_to, !ps.stop);
  if (!hash_ok) {
    log.Write(0, "E#C9106: Erro ao tentar executar SHA256_Update!\n");
    return 0;
  }
  // A read error ends the reading as the end of the file would; the report
  // then says the validation is incomplete.
  if (source.read_failed())
    log.Write(3, "Erro ao tentar ler o arquivo %s: %s\n", path.c_str(),
              platform::ErrorText(platform::LastError()).c_str());
  if (!ps.stop && !sha.Final(&ctx.sha256)) {
    log.Write(0, "E#C9107: Erro ao tentar executar SHA256_Final!\n");
    return 0;
  }
  log.Write(3, "Fechou %s com descritor: %d\n", path.c_str(), file.descriptor());
  file.Close();

  if (summary) {
    summary->last_line = ctx.line;
    summary->bytes_read = ctx.end_offset;
    if (ps.stop)
      summary->stop_reason = StopReason::kCancelled;
    else if (ps.unknown_records >= kMaxUnknown)
      summary->stop_reason = StopReason::kUnknownTypeLimit;
    else if (ps.findings.errors >= kMaxErrors && ctx.end_offset < ctx.file_size)
      summary->stop_reason = StopReason::kErrorLimit;
    else if (source.read_failed() || run.earlier_failed)
      summary->stop_reason = StopReason::kReadError;
  }
  // What the end checks find after an early stop may only be the part that
  // was never read: those findings are marked.
  const size_t found_before_end = ps.findings.list.size();
  if (ps.unknown_records < kMaxUnknown) {
    if (ps.findings.errors < kMaxErrors && ctx.state != kAguardandoFim &&
        ctx.state != kAguardandoEncerrar) {
      VerificacaoRegistro_9900(run, ctx.offset, ctx.line, __LINE__);
      VerificacaoRegistro_0100(run, __LINE__);
      VerificacaoRegistro_0200(run, __LINE__);
    }
    if (ps.unknown_records < kMaxUnknown && ps.findings.errors < kMaxErrors)
      VerificarRegistrosObrigatorios(run);
  }

  if (summary && summary->stop_reason != StopReason::kNone) {
    for (size_t i = found_before_end; i < ps.findings.list.size(); ++i)
      ps.findings.list[i].follows_stop = true;
  }

  BeforeReport(ps, ctx);
  int64_t t0 = platform::NowNs();
  GerarArquivoValidacao(run, kFinal);
  ps.report_us += ElapsedUs(t0);

  if (ps.findings.errors == 0) {
    t0 = platform::NowNs();
    const std::string stem = ctx.report_name.substr(0, ctx.report_name.size() - 14);
    if (GerarArquivoRCAD(run, stem) == 0) outputs.SummaryWritten(summary_name);
    ps.summary_us += ElapsedUs(t0);
  }

  const int completed = GerarArquivoValidacao(run, kCompletar);
  log.Write(3, "Tempo para validação: %lld\n"_l1,
            static_cast<long long>(std::time(nullptr) - ctx.run_start_time));
  if (summary) {
    summary->sha256 = ctx.sha256;
    summary->records_read = ctx.records_read_at_end;
    summary->report_written = completed == 0;
  }
  if (completed == 0) {
    outputs.Done();
    log.Write(3, "Fim ValidadorVOLP: 1\n");
    return 1;
  }
  log.Write(3, "Fim ValidadorVOLP: 0\n");
  return 0;
}

}  // namespace volp
