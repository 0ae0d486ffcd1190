// The reading loop of a validation run: every line through the framing
// checks, the split into fields and the structure machine, with the polls
// for a stop, the partial reports and the per-type timers on the way.
#include "core/format.hpp"
#include "driver/phases.hpp"
#include "platform/system.hpp"
#include "reading/reader.hpp"
#include "reports/report.hpp"
#include "structure/state_machine.hpp"
#include "structure/states.hpp"

namespace volp {

namespace {

constexpr int64_t kPollLines = 100000;
constexpr int64_t kScanSample = 64;  // one record in 64 has its split timed

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

// A finding on the file as a whole, at the line in hand.
template <class... A>
void FileFinding(Run& run, MsgOf<A...> id, const A&... args) {
  MsgText text;
  const MessageDef& d = Message(id.id);
  SalvarErroArquivo(run.ps.findings, run.log, run.ctx.offset, run.ctx.line, -1, {}, 0, nullptr,
                    d.severity, FormatMessage(text, id, args...), d.code);
}

}  // namespace

int64_t LerRegistros(Run& run, LineSource& source) {
  ProcessState& ps = run.ps;
  ValidationContext& ctx = run.ctx;
  Log& log = run.log;
  const RunOptions& options = run.opts;
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
      FileFinding(run, MsgId::kMuitosErros);
      ++ps.known_records;
      break;
    }

    // 7. Framing and split. Reading the clock costs about as much as
    // splitting a short record, so the split is timed on one record in 64
    // and the figure scaled.
    // A line the reading thread split ahead of time has nothing for the
    // frame checks and the split to report: its record is taken as it is.
    auto split = [&] {
      if (const PreSplitLine* pre = source.presplit())
        return TakePreSplit(raw.data(), *pre, source.presplit_ends() + pre->ends_at, rec);
      return CheckAndSplit(run, raw, rec, source.bits());
    };
    int type;
    if ((ctx.line & (kScanSample - 1)) == 0) {
      const uint64_t t0 = platform::Ticks();
      type = split();
      ps.scan_ticks += (platform::Ticks() - t0) * kScanSample;
    } else {
      type = split();
    }

    if (type < 0) {
      // 8. Unknown record type.
      ++ps.unknown_records;
      if (ps.unknown_records >= kMaxUnknown) {
        FileFinding(run, MsgId::kMuitosTiposInvalidos, static_cast<long long>(ps.unknown_records));
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
      // An earlier line that could not be read again leaves a repeated key
      // unjudged: the run ends there, as at a read error.
      if (run.earlier_failed) break;

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
  clock.Charge();
  return hashed_to;
}

}  // namespace volp
