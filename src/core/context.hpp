// The state of one validation run and the state that outlives it.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "core/earlier_lines.hpp"
#include "core/findings.hpp"
#include "core/log.hpp"
#include "core/record.hpp"
#include "platform/platform.hpp"

namespace volp {

// Owned by the stages above the core: the municipality table (fields/) and the
// state each group of rules keeps between records (rules/). The run holds
// them by reference and never needs their insides.
class Municipios;
struct Block0State;
struct Block1State;
struct Block9State;

// What outlives a run inside one process: the findings list with its counters,
// the per-type counters, the record counts, the stop flag, the phase timers
// and the texts computed once (versions). The exported C entry keeps one for
// the process; the C++ API makes a fresh one per call.
struct ProcessState {
  FindingsCollector findings;
  int64_t known_records = 0;
  int64_t unknown_records = 0;
  bool stop = false;
  int64_t read_us = 0;      // Leitura
  int64_t scan_us = 0;      // Varredura
  int64_t report_us = 0;    // GravacaoValidacao
  int64_t summary_us = 0;   // GravacaoRCAD
  uint64_t read_ticks = 0;  // (raw clock ticks behind read_us and scan_us)
  uint64_t scan_ticks = 0;
  bool versions_loaded = false;
  std::string version_dll;
  std::string version_zulkop;
  std::time_t last_partial_write = 0;
};

// Caller's choices for one run (the C++ API and the CLI set them; the C entry
// uses the defaults).
struct RunOptions {
  // Directory of RELATORIO_DTB_BRASIL_MUNICIPIO.csv; empty = current directory.
  std::string tables_dir;
  // The day of the run as AAAAMMDD; empty = today's local date.
  std::string today;
  // Raised from outside (Ctrl-C in the CLI) to stop the run as the stop file does.
  const std::atomic<bool>* stop_request = nullptr;
  // Called every 100,000 lines with bytes read and the file size.
  std::function<void(int64_t bytes_read, int64_t file_size)> progress;
  // Bytes read from the file at a time; 0 = the reader's default. Tests vary
  // it to show that nothing depends on where the blocks end.
  size_t read_block = 0;
  // Threads for the run (0 = the default, 2): see Options::threads.
  int threads = 0;
  // The reports' path without extension; empty = the input path's stem.
  std::string report_stem;
};

inline constexpr int64_t kLinhasPorDeslocamento = 1000000;
inline constexpr int kMaxDeslocamentos = 10000;

struct ValidationContext {
  // File.
  std::string path;
  int64_t file_size = 0;
  int64_t declared_lines = 0;  // from the 9999 read ahead

  // Position of the current record.
  int64_t line = 0;
  int64_t offset = 0;      // first byte of the current record
  int64_t end_offset = 0;  // byte after it
  int64_t records_read = 0;
  int64_t records_read_at_end = 0;

  // Line statistics.
  int64_t longest = 0;
  int64_t shortest = 0;
  int32_t average = 0;  // start of the last measured record / records read then
  // (the division is done only when a report needs it: see MedirMedia)
  int64_t average_offset = 0;
  int64_t average_count = 0;

  // Structure.
  int state = 0;  // the structure machine's state (structure/states.hpp), 0 = awaiting 0000
  int previous_state = -1;
  int previous_type = -1;  // previous record type as an integer
  int previous_type_index = -1;

  // Records per block (type starting with '0', '1', '9').
  int64_t block0 = 0;
  int64_t block1 = 0;
  int64_t block9 = 0;

  // Header values (0000 and 0005).
  std::string cod_ver;
  int finalidade = 0;
  std::string uf_fisco;
  std::string cnpj;
  std::string nome;
  std::string dt_ini;
  std::string dt_fin;
  int tp_amb = 0;
  std::string mes_val;
  std::string uf;        // 0005 UF
  std::string endereco;  // 0005 address
  std::string cep;
  std::string contato;
  std::string telefone;
  std::string email;

  // One offset per million lines.
  std::vector<int64_t> line_offsets;

  // SHA-256 of the input, 64 upper-case hex digits; empty when not finished.
  std::string sha256;

  // Output names.
  std::string report_name;  // <stem>.validacao.xml
  std::string stop_file;    // <cwd>/.parar_ValidadorVOLP-<pid>

  // Timers.
  int64_t start_ns = 0;             // high-resolution start of the run
  std::time_t start_time = 0;       // calendar start (set-up step 1)
  std::time_t run_start_time = 0;   // calendar start of the reading
  std::time_t last_stop_check = 0;  // calendar time of the last stop poll

  // The working file of the report: locked for the whole run, so that a
  // second run on the same file stops at once instead of writing over this
  // one's; written through `report_file`, which the final write (mode 1)
  // leaves open for the completing write (mode 2).
  platform::FileLock report_lock;
  platform::OutputFile report_file;
  bool report_pending = false;  // a final document waits for its completion
  bool keep_work_file = false;  // a whole report that could not be put in place
  std::string report_work_name;
};

// The average record length as of the last record measured.
inline void MedirMedia(ValidationContext& c) {
  if (c.average_count > 0) c.average = static_cast<int32_t>(c.average_offset / c.average_count);
}

// Everything one run reads and writes, passed explicitly to every step.
struct Run {
  Run(ProcessState& ps_, Log& log_, const Municipios& mun_, const RunOptions& opts_,
      Block0State& b0, Block1State& b1, Block9State& b9)
      : ps(ps_), log(log_), municipios(mun_), opts(opts_), block0(b0), block1(b1), block9(b9) {}

  ProcessState& ps;
  Log& log;
  const Municipios& municipios;
  const RunOptions& opts;
  std::string today;  // AAAAMMDD, the day of the run

  ValidationContext ctx;
  // The rules' state, each group's owned by its rule files (rules/state.hpp
  // gathers them for whoever sets up a run).
  Block0State& block0;
  Block1State& block1;
  Block9State& block9;

  // Earlier lines read again to confirm a repeated key (set by whoever runs
  // the loop). A line that cannot be read again ends the run as a read error
  // would: the run cannot say whether the key repeats.
  EarlierLines* earlier = nullptr;
  bool earlier_failed = false;

  // The record that starts at `offset` has the same text as `rec` in each of
  // `fields`. False when it differs or cannot be read (then earlier_failed).
  bool SameFields(int64_t offset, const Record& rec, std::initializer_list<int> fields);

  FindingsCollector& findings() { return ps.findings; }
  bool TooManyErrors() const { return ps.findings.errors >= kMaxErrors; }

  // A warning past the cap of kept warnings is only counted, so its text is
  // not worth writing out, unless the trace that prints every finding is on.
  // A file with a warning on each of millions of lines would otherwise spend
  // most of its time formatting messages nobody sees.
  bool Unkept(int32_t severity) const {
    return severity == kAdvertencia && ps.findings.warnings >= kMaxKeptWarnings && !log.On(7);
  }

  // Records a finding against the current record and one of its fields
  // (index 0 = the record as a whole with field number 0): message `id` of
  // the table with the values of its placeholders, at the table's severity.
  template <class... A>
  void Report(const Record& r, int field_index, MsgOf<A...> id, const A&... args) {
    MsgText text;
    const MessageDef& d = Message(id.id);
    if (Unkept(d.severity)) return ReportText(r, field_index, d.severity, {}, d.code);
    ReportText(r, field_index, d.severity, FormatMessage(text, id, args...), d.code);
  }
  // Records a finding at another position (an earlier record's line).
  template <class... A>
  void ReportAt(int64_t offset, int64_t line, int type_index, int32_t field_index,
                const FieldRef* field, MsgOf<A...> id, const A&... args) {
    MsgText text;
    const MessageDef& d = Message(id.id);
    if (Unkept(d.severity))
      return ReportTextAt(offset, line, type_index, field_index, field, d.severity, {}, d.code);
    ReportTextAt(offset, line, type_index, field_index, field, d.severity,
                 FormatMessage(text, id, args...), d.code);
  }

  // A message chosen at run time from a table of ids whose rows are held
  // against their values at compile time (see FormatChosen).
  template <class... A>
  void ReportChosen(const Record& r, int field_index, MsgId id, const A&... args) {
    MsgText text;
    const MessageDef& d = Message(id);
    if (Unkept(d.severity)) return ReportText(r, field_index, d.severity, {}, d.code);
    ReportText(r, field_index, d.severity, FormatChosen(text, id, args...), d.code);
  }

  // The same with a message already written out.
  void ReportText(const Record& r, int field_index, int32_t severity, std::string_view message,
                  std::string_view code = {});
  void ReportTextAt(int64_t offset, int64_t line, int type_index, int32_t field_index,
                    const FieldRef* field, int32_t severity, std::string_view message,
                    std::string_view code = {});
};

}  // namespace volp
