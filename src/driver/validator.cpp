// The validation run: set-up, the reading loop, the end sequence.
#include "driver/validator.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "core/format.hpp"
#include "core/latin1.hpp"
#include "fields/municipios.hpp"
#include "platform/platform.hpp"
#include "platform/system.hpp"
#include "reading/line_source.hpp"
#include "reading/reader.hpp"
#include "reports/report.hpp"
#include "rules/state.hpp"
#include "structure/state_machine.hpp"
#include "structure/states.hpp"

namespace volp {

namespace {

constexpr int64_t kPollLines = 100000;
constexpr int64_t kMaxUnknown = 100;
constexpr int64_t kScanSample = 64;  // one record in 64 has its split timed

std::string TodayText(const RunOptions& options) {
  if (!options.today.empty()) return options.today;
  platform::LocalTime t = platform::Local(std::time(nullptr));
  char buf[48];
  std::snprintf(buf, sizeof buf, "%04d%02d%02d", t.year, t.month, t.day);
  return buf;
}

// The declared line count, read ahead from the 9999 record among the last
// 1,000 bytes of the file (0 when there is none; the last one wins).
int64_t LerRegistro9999(Log& log, platform::InputFile& file, int64_t size) {
  if (log.On(3))
    log.Write(3, "LerRegistro9999(%p, %lld, %p)\n", static_cast<void*>(&file),
              static_cast<long long>(size), static_cast<void*>(&log));
  int64_t result = 0;
  const int64_t start = size >= 1001 ? size - 1000 : 0;
  if (!file.Seek(start)) return 0;
  char buf[1001];
  int64_t got = 0;
  while (got < static_cast<int64_t>(sizeof buf) - 1) {
    int64_t r = file.Read(buf + got, static_cast<int64_t>(sizeof buf) - 1 - got);
    if (r <= 0) break;
    got += r;
  }
  // Lines as read with a 9,999-byte buffer: the tail is at most 1,000 bytes,
  // so every line ends at a LF or at the end of the tail.
  for (int64_t i = 0; i < got;) {
    const char* p = buf + i;
    const char* lf = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(got - i)));
    const int64_t len = lf ? lf - p + 1 : got - i;
    if (len >= 6 && std::memcmp(p, "|9999|", 6) == 0) {
      char num[100];
      int64_t n = std::min<int64_t>(len - 6, 99);
      std::memcpy(num, p + 6, static_cast<size_t>(n));
      num[n] = '\0';
      if (char* bar = std::strchr(num, '|')) *bar = '\0';
      result = std::strtoll(num, nullptr, 10);
    }
    i += len;
  }
  return result;
}

void RequiredRecordsCheck(Run& run) {
  Msg m;
  for (int i = 0; i < kRecordTypeCount; ++i) {
    const RecordTypeDef& t = kRecordTypes[i];
    if (t.required != 'S' || run.ps.findings.per_type[i].count != 0) continue;
    run.ReportAt(run.ctx.offset, run.ctx.line, i, 0, nullptr, kErro,
                 m("O registro %s é obrigatório mas não foi encontrado no arquivo."_l1, t.code));
  }
}

// Brings the derived figures the report prints up to date: the microsecond
// timers (from clock ticks) and the average record length.
void BeforeReport(ProcessState& ps, ValidationContext& ctx) {
  MedirMedia(ctx);
  ps.read_us = platform::TicksToNs(ps.read_ticks) / 1000;
  ps.scan_us = platform::TicksToNs(ps.scan_ticks) / 1000;
  for (TypeCounters& t : ps.findings.per_type) t.time_us = platform::TicksToNs(t.time_ticks) / 1000;
}

// The handling time of each record type. The clock is read only where the
// type changes: a run of records of one type (the 1115 of a daily total) is
// timed as a whole, which adds up to the same as timing each record from the
// end of the one before it, at a fraction of the cost (a clock read costs
// about as much as splitting a short record). The time up to a change,
// including the reading of the record that changes it, goes to the type
// that was running.
class TypeClock {
 public:
  explicit TypeClock(FindingsCollector& fc) : fc_(fc), mark_(platform::Ticks()) {}
  void Switch(int type) {
    if (type == type_) return;
    Charge();
    type_ = type;
  }
  // Brings the running type's figure up to date.
  void Charge() {
    const uint64_t now = platform::Ticks();
    if (type_ >= 0) fc_.per_type[type_].time_ticks += now - mark_;
    mark_ = now;
  }
  // Leaves the time since the last reading out (report writing).
  void Skip() { mark_ = platform::Ticks(); }

 private:
  FindingsCollector& fc_;
  uint64_t mark_;
  int type_ = -1;
};

int64_t ElapsedUs(int64_t since_ns) { return (platform::NowNs() - since_ns) / 1000; }

// The longest report name the format allows. A longer one would have to be
// cut, and a cut name may land in another directory or over another file.
constexpr size_t kMaxReportName = 999;

// The outputs of a run that does not end with its report in place: the
// working file it claimed goes (unless it holds a whole report that could
// not take its name), and so does a summary written for it.
class UnfinishedOutputs {
 public:
  explicit UnfinishedOutputs(ValidationContext& ctx) : ctx_(ctx) {}
  ~UnfinishedOutputs() {
    if (done_ || !ctx_.report_lock.held()) return;
    if (ctx_.report_file.is_open()) ctx_.report_file.Close();
    if (!ctx_.keep_work_file) platform::RemoveFile(ctx_.report_work_name);
    if (!summary_.empty()) platform::RemoveFile(summary_);
  }
  void SummaryWritten(std::string name) { summary_ = std::move(name); }
  void Done() { done_ = true; }

 private:
  ValidationContext& ctx_;
  std::string summary_;
  bool done_ = false;
};

}  // namespace

std::string ReportNameFor(const std::string& path) {
  // The stem is the path (its first 999 characters) up to its last ".",
  // wherever that dot is: in a directory name too ("dir.x/file" gives
  // "dir.validacao.xml"). A path without any "." is the stem as it is.
  std::string stem = path.substr(0, 999);
  const size_t dot = stem.find_last_of('.');
  if (dot != std::string::npos) stem.resize(dot);
  return stem + ".validacao.xml";
}

int ExecutarValidacao(ProcessState& ps, Log& log, const std::string& path,
                      const RunOptions& options, RunSummary* summary) {
  const int64_t start_ns = platform::NowNs();
  const std::time_t start_time = std::time(nullptr);

  Municipios municipios;
  if (!LerCodigosMunicipioIBGE(options.tables_dir, log, municipios)) return 0;
  if (summary) summary->tables_path = municipios.source;

  RuleStates rules;
  Run run(ps, log, municipios, options, rules.block0, rules.block1, rules.block9);
  ValidationContext& ctx = run.ctx;
  ctx.start_ns = start_ns;
  ctx.start_time = start_time;
  ctx.path = path;
  run.today = TodayText(options);

  int err = 0;
  bool is_dir = false;
  if (!platform::InputFile::Stat(path, &ctx.file_size, &is_dir, &err)) {
    log.Write(0, "E#C9102: Erro ao tentar obter informações do arquivo %s: %s\n"_l1, path.c_str(),
              platform::ErrorText(err).c_str());
    return 0;
  }
  platform::InputFile file;
  if (!is_dir && platform::KindOf(path) == platform::FileKind::kOther) {
    // A FIFO, a device or a socket: no size to report, and opening a FIFO
    // would wait for a writer that may never come.
    log.Write(0,
              "E#C9123: O arquivo %s não é um arquivo comum (é um pipe, um dispositivo ou um "
              "soquete) e não pode ser validado!\n"_l1,
              path.c_str());
    return 0;
  }
  if (is_dir) {
    log.Write(0, "E#C9103: Erro ao tentar abrir o arquivo %s: %s\n", path.c_str(),
              platform::ErrorText(platform::DirectoryError()).c_str());
    return 0;
  }
  if (!file.Open(path, &err)) {
    log.Write(0, "E#C9103: Erro ao tentar abrir o arquivo %s: %s\n", path.c_str(),
              platform::ErrorText(err).c_str());
    return 0;
  }
  log.Write(3, "Abriu %s com descritor: %d\n", path.c_str(), file.descriptor());

  ctx.report_name = ReportNameFor(path);
  if (path.size() > kMaxReportName || ctx.report_name.size() > kMaxReportName) {
    log.Write(0,
              "E#C9124: O caminho %s é longo demais: o nome do relatório passaria de %d "
              "caracteres!\n"_l1,
              path.c_str(), static_cast<int>(kMaxReportName));
    return 0;
  }
  if (summary) {
    summary->report_path = ctx.report_name;
    summary->file_size = ctx.file_size;
  }

  // The working file is this run's until it ends: a second run on the same
  // file stops here and touches nothing of the first one's.
  ctx.report_work_name = ctx.report_name + ".parcial";
  bool busy = false;
  if (!ctx.report_lock.TryLock(ctx.report_work_name, &busy, &err)) {
    if (busy)
      log.Write(0, "E#C9122: O arquivo %s está em uso por outra validação!\n"_l1,
                ctx.report_work_name.c_str());
    else
      log.Write(0, "E#C9122: Erro ao tentar bloquear o arquivo %s: %s\n",
                ctx.report_work_name.c_str(), platform::ErrorText(err).c_str());
    return 0;
  }
  UnfinishedOutputs outputs(ctx);
  // A summary left by an earlier run would say this file passed before this
  // run has said anything.
  const std::string stem = ctx.report_name.substr(0, ctx.report_name.size() - 14);
  const std::string summary_name = stem + ".rcad.txt";
  if (!platform::RemoveIfExists(summary_name, &err)) {
    log.Write(0, "E#C9125: Não conseguiu apagar o resumo anterior %s: %s\n"_l1,
              summary_name.c_str(), platform::ErrorText(err).c_str());
    return 0;
  }

  Sha256 sha;
  if (!sha.ok()) {
    log.Write(0, "%s", "E#C9105: Não conseguiu inicializar sha256!\n"_l1);
    return 0;
  }

  ctx.declared_lines = LerRegistro9999(log, file, ctx.file_size);
  file.Seek(0);

  ctx.run_start_time = std::time(nullptr);
  ctx.stop_file = platform::CurrentDirectory() + platform::Separator() + ".parar_ValidadorVOLP-" +
                  std::to_string(platform::ProcessId());
  ctx.state = kAguardando0000;
  ctx.previous_state = -1;
  ctx.previous_type = -1;

  // A file smaller than a block is read in one block of its own size, so that
  // a run on a small file does not set aside the 24 MiB the read-ahead slots
  // of a large one take.
  size_t block = options.read_block;
  if (block == 0 && ctx.file_size < (int64_t{4} << 20))
    block = static_cast<size_t>(std::max<int64_t>(ctx.file_size + 1, 4096));
  LineSource source(file, &sha, &ps.read_ticks, block);
  Record rec;  // fields of the current record: views into the block in hand
  std::string_view raw;
  bool have = source.Next(&raw);
  int64_t hashed_to = 0;  // end of the last line that went into the digest
  TypeClock clock(ps.findings);
  // Lines that poll for a stop and report progress (the offset cache takes
  // one of them in ten).
  static_assert(kLinhasPorDeslocamento % kPollLines == 0);
  int64_t next_poll = kPollLines;

  while (have) {
    // 1. Position.
    const int64_t len = static_cast<int64_t>(raw.size());
    ++ctx.records_read;
    ctx.offset = ctx.end_offset;
    ctx.end_offset += len;
    ++ctx.line;

    // 2. Stop request (the stop file, or the caller's flag), every 100,000 lines.
    const bool poll = ctx.line == next_poll;
    if (poll) {
      const std::time_t now = std::time(nullptr);
      bool stop = options.stop_request != nullptr && options.stop_request->load();
      if (!stop && now - ctx.last_stop_check >= 5 && platform::FileExists(ctx.stop_file)) {
        platform::RemoveFile(ctx.stop_file);
        stop = true;
      }
      ctx.last_stop_check = now;
      if (stop) {
        ps.stop = true;
        break;
      }
    }

    // 3. One offset per million lines.
    if (poll && ctx.line % kLinhasPorDeslocamento == 0 &&
        ctx.line_offsets.size() < static_cast<size_t>(kMaxDeslocamentos))
      ctx.line_offsets.push_back(ctx.offset);

    // 4. Line statistics.
    if (len > ctx.longest) ctx.longest = len;
    if (ctx.shortest == 0 || len < ctx.shortest) ctx.shortest = len;
    ctx.average_offset = ctx.offset;  // average = this / that, when a report asks
    ctx.average_count = ctx.records_read;

    // 5. The digest: the block is hashed on the second thread; this line now
    // counts as hashed.
    hashed_to = ctx.end_offset;

    // 6. Too many errors.
    if (ps.findings.errors >= kMaxErrors) {
      SalvarErroArquivo(ps.findings, log, ctx.offset, ctx.line, -1, {}, 0, nullptr, kErro,
                        "Parou a validação porque encontrou muitos erros!"_l1);
      ++ps.known_records;
      break;
    }

    // 7. Framing and split. Reading the clock costs about as much as
    // splitting a short record, so the split is timed on one record in 64
    // and the figure scaled.
    int type;
    if ((ctx.line & (kScanSample - 1)) == 0) {
      const uint64_t t0 = platform::Ticks();
      type = CheckAndSplit(run, raw, rec, source.bits());
      ps.scan_ticks += (platform::Ticks() - t0) * kScanSample;
    } else {
      type = CheckAndSplit(run, raw, rec, source.bits());
    }

    if (type < 0) {
      // 8. Unknown record type.
      ++ps.unknown_records;
      if (ps.unknown_records >= kMaxUnknown) {
        Msg m;
        SalvarErroArquivo(
            ps.findings, log, ctx.offset, ctx.line, -1, {}, 0, nullptr, kErro,
            m("Parou a validação porque encontrou %lld tipos de registro inválidos!"_l1,
              static_cast<long long>(ps.unknown_records)));
        break;
      }
    } else {
      // 9. Known record type.
      ++ps.known_records;
      if (ps.findings.errors >= kMaxErrors) break;
      clock.Switch(type);
      TypeCounters& tc = ps.findings.per_type[type];
      ++tc.count;
      const char* code = kRecordTypes[type].code;
      const int code_value = RecordTypeNumber(type);
      switch (code[0]) {
        case '0':
          ++ctx.block0;
          break;
        case '1':
          ++ctx.block1;
          break;
        case '9':
          ++ctx.block9;
          break;
      }
      if (log.On(5))
        log.Write(5, "LINHA: %s PASSO: %-25s ANTERIOR: %s TipoRegistro: %04d Anterior: %04d\n",
                  Milhar(ctx.line).c_str(), StateName(ctx.state), StateName(ctx.previous_state),
                  code_value, ctx.previous_type);
      StepStateMachine(run, rec);

      // 10. The previous type (its time is kept by the clock).
      ctx.previous_type = code_value;
      ctx.previous_type_index = type;
    }

    // 11. Progress: a partial report (at most every 5 s) and the caller's callback.
    if (poll) {
      next_poll += kPollLines;
      clock.Charge();
      const int64_t t0 = platform::NowNs();
      BeforeReport(ps, ctx);
      GerarArquivoValidacao(run, kParcial);
      ps.report_us += ElapsedUs(t0);
      if (options.progress) options.progress(ctx.end_offset, ctx.file_size);
      clock.Skip();
    }

    // 12. Next record.
    have = source.Next(&raw);
  }

  // End sequence.
  clock.Charge();
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

  if (ps.unknown_records < kMaxUnknown) {
    if (ps.findings.errors < kMaxErrors && ctx.state != kAguardandoFim &&
        ctx.state != kAguardandoEncerrar) {
      VerificacaoRegistro_9900(run, ctx.offset, ctx.line, __LINE__);
      VerificacaoRegistro_0100(run, __LINE__);
      VerificacaoRegistro_0200(run, __LINE__);
    }
    if (ps.unknown_records < kMaxUnknown && ps.findings.errors < kMaxErrors)
      RequiredRecordsCheck(run);
  }

  BeforeReport(ps, ctx);
  int64_t t0 = platform::NowNs();
  GerarArquivoValidacao(run, kFinal);
  ps.report_us += ElapsedUs(t0);

  if (ps.findings.errors == 0) {
    t0 = platform::NowNs();
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
