// The per-record path of the hot record types (1115, 1110, 1100): frame
// check and split, field analysis and the record's rules through the
// structure machine, in nanoseconds per record.
//
// The input is a generated declaration held in memory. Its lines are fed in
// file order to one run, as the reading loop does, so that every record meets
// the state it meets in a real file (its group open, its registries filled,
// its duplicate sets of realistic size); only the records of the measured
// type are timed (manual timing, one record per iteration). The two clock
// reads around each record add to every figure what ClockReads shows.
//
// The lines are split as the run splits them, from the maps of pipes and
// non-Latin-1 bytes, which are built once for the whole text beforehand.
// Left out, and so not in these figures: reading the file, hashing it, the
// building of those maps, finding where each line ends, the type counters
// and time accounting of the reading loop, the partial and final reports,
// and the end-of-file checks.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/context.hpp"
#include "core/record.hpp"
#include "core/record_types.hpp"
#include "fields/municipios.hpp"
#include "generator/generator.hpp"
#include "reading/line_bits.hpp"
#include "reading/reader.hpp"
#include "rules/state.hpp"
#include "structure/state_machine.hpp"

namespace {

const std::string& Declaration() {
  static const std::string text = [] {
    volpgen::Options o;
    o.transactions = 300000;
    o.seed = 42;
    volpgen::StringSink sink;
    volpgen::Generate(o, sink);
    return std::move(sink.text);
  }();
  return text;
}

// The pipe and non-Latin-1 maps of the whole declaration (line ends too,
// unused here), as the reading stage builds them block by block.
struct DeclarationBits {
  std::vector<uint64_t> maps;
  const uint64_t* bar = nullptr;
  const uint64_t* bad = nullptr;
};

const DeclarationBits& Bits() {
  static const DeclarationBits bits = [] {
    const std::string& text = Declaration();
    const size_t words = volp::BitWords(text.size());
    DeclarationBits b;
    b.maps.resize(3 * words);
    volp::ClassifyBytes(text.data(), text.size(), b.maps.data(), b.maps.data() + words,
                        b.maps.data() + 2 * words);
    b.bar = b.maps.data() + words;
    b.bad = b.maps.data() + 2 * words;
    return b;
  }();
  return bits;
}

// One validation run fed line by line, as the reading loop feeds it.
class Feeder {
 public:
  Feeder() : run_(ps_, log_, municipios_, options_, rules_.block0, rules_.block1, rules_.block9) {
    volp::LerCodigosMunicipioIBGE(VOLP_SOURCE_DATA_DIR, log_, municipios_);
    run_.today = "20260115";
  }

  // The next line of the file (CR LF included), or an empty view at the end.
  std::string_view Next() {
    const std::string& text = Declaration();
    if (pos_ >= text.size()) return {};
    const size_t end = text.find('\n', pos_) + 1;
    const std::string_view line(text.data() + pos_, end - pos_);
    pos_ = end;
    return line;
  }

  static bool Is(std::string_view line, const char* code) { return line.substr(1, 4) == code; }

  void Feed(std::string_view line) {
    volp::ValidationContext& ctx = run_.ctx;
    ++ctx.records_read;
    ctx.offset = ctx.end_offset;
    ctx.end_offset += static_cast<int64_t>(line.size());
    ++ctx.line;
    const DeclarationBits& maps = Bits();
    const volp::LineBits bits{maps.bar, maps.bad,
                              static_cast<size_t>(line.data() - Declaration().data())};
    const int type = volp::CheckAndSplit(run_, line, rec_, &bits);
    if (type < 0) return;
    ++ps_.known_records;
    ++ps_.findings.per_type[type].count;
    const char* code = volp::kRecordTypes[type].code;
    if (code[0] == '0') ++ctx.block0;
    if (code[0] == '1') ++ctx.block1;
    if (code[0] == '9') ++ctx.block9;
    volp::StepStateMachine(run_, rec_);
    ctx.previous_type = std::atoi(code);
    ctx.previous_type_index = type;
  }

  int64_t errors() const { return ps_.findings.errors; }

 private:
  volp::ProcessState ps_;
  volp::Log log_;
  volp::Municipios municipios_;
  volp::RunOptions options_;
  volp::RuleStates rules_;
  volp::Run run_;
  volp::Record rec_;
  size_t pos_ = 0;
};

void RecordPath(benchmark::State& state, const char* code) {
  auto feeder = std::make_unique<Feeder>();
  int64_t records = 0;
  for (auto _ : state) {
    std::string_view line;
    for (;;) {
      line = feeder->Next();
      if (line.empty() || Feeder::Is(line, "1200")) {
        // Block 1 is over: start again with a fresh run.
        feeder = std::make_unique<Feeder>();
        continue;
      }
      if (Feeder::Is(line, code)) break;
      feeder->Feed(line);
    }
    const auto start = std::chrono::steady_clock::now();
    feeder->Feed(line);
    const auto stop = std::chrono::steady_clock::now();
    state.SetIterationTime(std::chrono::duration<double>(stop - start).count());
    ++records;
  }
  if (feeder->errors() != 0) state.SkipWithError("the generated file gave findings");
  state.SetItemsProcessed(records);
}

// The cost of the two clock reads that frame every timed record: subtract it
// from the figures above.
void ClockReads(benchmark::State& state) {
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    const auto stop = std::chrono::steady_clock::now();
    state.SetIterationTime(std::chrono::duration<double>(stop - start).count());
  }
}

}  // namespace

BENCHMARK(ClockReads)->UseManualTime()->Unit(benchmark::kNanosecond);
BENCHMARK_CAPTURE(RecordPath, 1115, "1115")->UseManualTime()->Unit(benchmark::kNanosecond);
BENCHMARK_CAPTURE(RecordPath, 1110, "1110")->UseManualTime()->Unit(benchmark::kNanosecond);
BENCHMARK_CAPTURE(RecordPath, 1100, "1100")->UseManualTime()->Unit(benchmark::kNanosecond);

BENCHMARK_MAIN();
