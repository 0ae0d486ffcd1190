// The validation run: set-up, the reading loop, the end sequence (each in a
// file of its own: driver/setup.cpp, driver/loop.cpp, driver/finish.cpp).
#include "driver/validator.hpp"

#include <algorithm>
#include <ctime>
#include <thread>

#include "driver/phases.hpp"
#include "fields/field_analysis.hpp"
#include "fields/municipios.hpp"
#include "platform/platform.hpp"
#include "reading/file_lines.hpp"
#include "reading/line_source.hpp"
#include "rules/state.hpp"

namespace volp {

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
  platform::StartTicks();

  Municipios municipios;
  if (!LerCodigosMunicipioIBGE(options.tables_dir, log, municipios)) return 0;
  if (summary) summary->tables_path = municipios.source;

  RuleStates rules;
  Run run(ps, log, municipios, options, rules.block0, rules.block1, rules.block9);
  run.ctx.start_ns = start_ns;
  run.ctx.start_time = start_time;

  platform::InputFile file;
  if (!AbrirDeclaracao(run, path, file, summary)) return 0;
  // From here on the report's working file is this run's: whatever ends the
  // run early takes it (and a summary written for it) away again.
  UnfinishedOutputs outputs(run.ctx);
  Sha256 sha;
  std::string summary_name;
  if (!PrepararLeitura(run, file, sha, &summary_name)) return 0;

  FileLines earlier(path);
  run.earlier = &earlier;
  // The reading keeps at most three blocks ahead of the one in hand: a
  // fourth split worker would only wait. Unless told, a split worker is
  // added where there are cores enough for the three threads to run at once;
  // on two cores it would only take time from the other two.
  const int threads = options.threads > 0                        ? std::min(options.threads, 5)
                      : std::thread::hardware_concurrency() >= 4 ? 3
                                                                 : 2;
  // Split workers also run the fields' shortcut on the lines they split.
  LineSource source(file, &sha, &ps.read_ticks, BlocoDeLeitura(options, run.ctx.file_size), 0,
                    threads >= 2, threads > 2 ? threads - 2 : 0, &CamposSemAchado);
  const int64_t hashed_to = LerRegistros(run, source);
  return Encerrar(run, file, sha, source, hashed_to, summary_name, outputs, summary);
}

}  // namespace volp
