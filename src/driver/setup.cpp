// The set-up of a validation run: the declaration opened, the report's
// working file claimed, the digest ready and the declared line count read
// ahead.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "core/latin1.hpp"
#include "driver/phases.hpp"
#include "platform/system.hpp"
#include "reading/line_source.hpp"
#include "structure/states.hpp"

namespace volp {

namespace {

// The longest report name the format allows. A longer one would have to be
// cut, and a cut name may land in another directory or over another file.
constexpr size_t kMaxReportName = 999;

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

// A name the run must make a file of holds something that is not a regular
// file: whoever put a link there wanted the run's bytes elsewhere.
void RefuseName(Log& log, const std::string& name) {
  log.Write(0,
            "E#C9126: O caminho %s já existe e não é um arquivo comum (é um link, um diretório ou "
            "um dispositivo): a validação não grava nele nem através dele!\n"_l1,
            name.c_str());
}

}  // namespace

UnfinishedOutputs::~UnfinishedOutputs() {
  if (done_ || !ctx_.report_lock.held()) return;
  if (ctx_.report_file.is_open()) ctx_.report_file.Close();
  if (!ctx_.keep_work_file) platform::RemoveFile(ctx_.report_work_name);
  if (!summary_.empty()) platform::RemoveFile(summary_);
}

bool AbrirDeclaracao(Run& run, const std::string& path, platform::InputFile& file,
                     RunSummary* summary) {
  ValidationContext& ctx = run.ctx;
  Log& log = run.log;
  ctx.path = path;
  run.today = TodayText(run.opts);

  int err = 0;
  bool is_dir = false;
  if (!platform::InputFile::Stat(path, &ctx.file_size, &is_dir, &err)) {
    log.Write(0, "E#C9102: Erro ao tentar obter informações do arquivo %s: %s\n"_l1, path.c_str(),
              platform::ErrorText(err).c_str());
    return false;
  }
  if (!is_dir && platform::KindOf(path) == platform::FileKind::kOther) {
    // A FIFO, a device or a socket: no size to report, and opening a FIFO
    // would wait for a writer that may never come.
    log.Write(0,
              "E#C9123: O arquivo %s não é um arquivo comum (é um pipe, um dispositivo ou um "
              "soquete) e não pode ser validado!\n"_l1,
              path.c_str());
    return false;
  }
  if (is_dir) {
    log.Write(0, "E#C9103: Erro ao tentar abrir o arquivo %s: %s\n", path.c_str(),
              platform::ErrorText(platform::DirectoryError()).c_str());
    return false;
  }
  if (!file.Open(path, &err)) {
    log.Write(0, "E#C9103: Erro ao tentar abrir o arquivo %s: %s\n", path.c_str(),
              platform::ErrorText(err).c_str());
    return false;
  }
  log.Write(3, "Abriu %s com descritor: %d\n", path.c_str(), file.descriptor());

  ctx.report_name =
      run.opts.report_stem.empty() ? ReportNameFor(path) : run.opts.report_stem + ".validacao.xml";
  if (path.size() > kMaxReportName || ctx.report_name.size() > kMaxReportName) {
    log.Write(0,
              "E#C9124: O caminho %s é longo demais: o nome do relatório passaria de %d "
              "caracteres!\n"_l1,
              path.c_str(), static_cast<int>(kMaxReportName));
    return false;
  }
  if (summary) {
    summary->validation_date = run.today;
    summary->report_path = ctx.report_name;
    summary->file_size = ctx.file_size;
  }

  // The report's outputs are this run's until it ends: a second run on the
  // same file stops here and touches nothing of the first one's. The claim
  // is a lock file of its own beside the report, never the report's bytes.
  ctx.report_work_name = ctx.report_name + ".parcial";
  const std::string lock_name = ctx.report_name + ".trava";
  bool busy = false;
  bool refused = false;
  if (!ctx.report_lock.TryLock(lock_name, &busy, &refused, &err)) {
    if (refused)
      RefuseName(log, lock_name);
    else if (busy)
      log.Write(0, "E#C9122: O arquivo %s está em uso por outra validação!\n"_l1,
                ctx.report_work_name.c_str());
    else
      log.Write(0, "E#C9122: Erro ao tentar bloquear o arquivo %s: %s\n", lock_name.c_str(),
                platform::ErrorText(err).c_str());
    return false;
  }
  // A working file still there was left by a run that died (a live one
  // would hold the lock): it goes. A link, a directory or a device at its
  // name is never written through, nor removed.
  if (!platform::ClearStaleFile(ctx.report_work_name, &refused, &err)) {
    if (refused)
      RefuseName(log, ctx.report_work_name);
    else
      log.Write(
          0,
          "E#C9127: Não conseguiu apagar o arquivo de trabalho %s deixado por outra validação: %s\n"_l1,
          ctx.report_work_name.c_str(), platform::ErrorText(err).c_str());
    ctx.report_lock.Release();
    return false;
  }
  return true;
}

bool PrepararLeitura(Run& run, platform::InputFile& file, Sha256& sha, std::string* summary_name) {
  ValidationContext& ctx = run.ctx;
  Log& log = run.log;
  // A summary left by an earlier run would say this file passed before this
  // run has said anything.
  const std::string stem = ctx.report_name.substr(0, ctx.report_name.size() - 14);
  *summary_name = stem + ".rcad.txt";
  int err = 0;
  if (!platform::RemoveIfExists(*summary_name, &err)) {
    log.Write(0, "E#C9125: Não conseguiu apagar o resumo anterior %s: %s\n"_l1,
              summary_name->c_str(), platform::ErrorText(err).c_str());
    return false;
  }

  if (!sha.ok()) {
    log.Write(0, "%s", "E#C9105: Não conseguiu inicializar sha256!\n"_l1);
    return false;
  }

  ctx.declared_lines = LerRegistro9999(log, file, ctx.file_size);
  file.Seek(0);

  ctx.run_start_time = std::time(nullptr);
  ctx.stop_file = platform::CurrentDirectory() + platform::Separator() + ".parar_ValidadorVOLP-" +
                  std::to_string(platform::ProcessId());
  ctx.state = kAguardando0000;
  ctx.previous_state = -1;
  ctx.previous_type = -1;
  return true;
}

// A file smaller than a block is read in one block of its own size, so that
// a run on a small file does not set aside the 12 MiB the read-ahead slots of
// a large one take.
size_t BlocoDeLeitura(const RunOptions& options, int64_t file_size) {
  size_t block = options.read_block;
  if (block == 0 && file_size < static_cast<int64_t>(LineSource::kDefaultBlock))
    block = static_cast<size_t>(std::max<int64_t>(file_size + 1, 4096));
  return block;
}

}  // namespace volp
