// The shortcut for plainly good fields against the full field checks: one
// record of any type, whose type the first byte picks and whose fields are
// the rest, must give the same findings and the same filled and valid marks
// every way: full checks, shortcut, and shortcut worked out in advance.
#include <cstdint>
#include <string>

#include "core/context.hpp"
#include "core/record_types.hpp"
#include "fields/field_analysis.hpp"
#include "fields/municipios.hpp"
#include "fuzz_support.hpp"
#include "reading/reader.hpp"
#include "rules/state.hpp"

namespace {

struct Side {
  explicit Side(const volp::Municipios& m)
      : run(ps, log, m, options, rules.block0, rules.block1, rules.block9) {
    run.today = "20260115";
  }
  volp::ProcessState ps;
  volp::Log log;
  volp::RunOptions options;
  volp::RuleStates rules;
  volp::Run run;
  volp::Record rec;
};

const volp::Municipios& Table() {
  static volp::Municipios m;
  static const bool loaded = [] {
    volp::Log log;
    return volp::LerCodigosMunicipioIBGE(VOLP_FUZZ_DATA_DIR, log, m);
  }();
  volp::fuzz::Check(loaded, "municipality table");
  return m;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace volp::fuzz;
  if (size == 0 || size > 20000) return 0;
  const int type = data[0] % volp::kRecordTypeCount;
  std::string line = std::string("|") + volp::kRecordTypes[type].code + "|";
  line.append(reinterpret_cast<const char*>(data) + 1, size - 1);
  line += "\r\n";

  // The third side has the fields a split worker finds plainly good marked
  // in advance.
  Side full(Table()), quick(Table()), known(Table());
  const int a = volp::CheckAndSplit(full.run, line, full.rec);
  const int b = volp::CheckAndSplit(quick.run, line, quick.rec);
  const int c = volp::CheckAndSplit(known.run, line, known.rec);
  Check(a == b && a == c, "split");
  if (a < 0) return 0;
  volp::AnalisarRegistroCompleto(full.run, full.rec);
  volp::AnalisarRegistro(quick.run, quick.rec);
  known.rec.known_valid = volp::CamposSemAchado(known.rec);
  volp::AnalisarRegistro(known.run, known.rec);
  const auto& fl = full.ps.findings.list;
  for (const Side* side : {&quick, &known}) {
    const auto& ql = side->ps.findings.list;
    Check(fl.size() == ql.size(), "number of findings");
    for (size_t i = 0; i < fl.size(); ++i) {
      Check(fl[i].message == ql[i].message, "message: " + fl[i].message + " / " + ql[i].message);
      Check(fl[i].field_number == ql[i].field_number, "field of a finding");
    }
    for (int i = 0; i < volp::kRecordTypes[a].field_count; ++i) {
      Check(full.rec.filled(i) == side->rec.filled(i), "filled mark");
      Check(full.rec.valid(i) == side->rec.valid(i), "valid mark");
    }
  }
  return 0;
}
