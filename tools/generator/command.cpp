#include "generator/command.hpp"

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "cli_files.hpp"
#include "generator/generator.hpp"

namespace {

class FileSink : public volpgen::Sink {
 public:
  explicit FileSink(std::FILE* f) : f_(f) {}
  void Write(const char* data, size_t size) override {
    if (std::fwrite(data, 1, size, f_) != size) failed_ = true;
  }
  bool failed() const { return failed_; }

 private:
  std::FILE* f_;
  bool failed_ = false;
};

struct GenerateArgs {
  volpgen::Options options;
  std::string output;
  std::string manifest;
  std::string faults;
};

const char* const kFaultHelp =
    "Faults to inject, comma-separated, each KIND, KIND@random or KIND@line:N (the first record "
    "that can take the fault at or after line N). Example: "
    "cnpj-digit@random,bad-date@line:120,sum-1110,dup-1115,order,missing-9900,lf-only,non-latin1."
    "\nKinds: cnpj-digit, cpf-digit (0100 with a wrong check digit), bad-date (0100 DT_CREDEN on "
    "30 February), cep-uf (0100 CEP of another unit), non-latin1 (0100 name with a UTF-8 dash), "
    "dup-0100 (a client written twice), sum-1110, qty-1110 (a daily total one off: the 1110 and "
    "its 1100 are reported), sum-1115 (a transaction one cent off its daily total), zero-1115 "
    "(a transaction of 0,00), dup-1115 (a transaction written twice), nat-oper (NAT_OPER 9), "
    "bandeira (BANDEIRA 36, a warning), order (the last 9900 after the 9990), missing-9900, "
    "qtd-0990, qtd-9999 (a stated count one off), lf-only (a line ending without CR), cpf-low (a "
    "client with CPF left with 29 operations: its 1100 must be removed).";

void RunGenerate(const GenerateArgs& a) {
  volpgen::Options o = a.options;
  std::string error;
  if (!volpgen::ParseFaults(a.faults, &o.faults, &error))
    throw CLI::ValidationError("--faults", error);
  const bool to_stdout = a.output == "-";
  // Written beside its place and renamed over it at the end: a file or a
  // link already at the name is replaced, never written through, and a run
  // that fails leaves nothing half-written.
  volp::cli::FileInPlace file;
  if (!to_stdout && !file.Open(a.output, &error))
    throw CLI::RuntimeError("volp generate: " + error, 2);
  std::FILE* f = to_stdout ? stdout : file.stream();
  FileSink sink(f);
  const auto start = std::chrono::steady_clock::now();
  volpgen::Summary s;
  try {
    s = volpgen::Generate(o, sink);
  } catch (const std::invalid_argument& e) {
    throw CLI::RuntimeError(std::string("volp generate: ") + e.what(), 2);
  }
  if (sink.failed()) throw CLI::RuntimeError("volp generate: cannot write " + a.output, 2);
  if (to_stdout ? std::fflush(f) != 0 : !file.Commit(&error))
    throw CLI::RuntimeError("volp generate: " + (to_stdout ? "cannot write " + a.output : error),
                            2);
  const double secs =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

  std::string manifest = a.manifest;
  if (manifest.empty() && !o.faults.empty())
    manifest = (to_stdout ? std::string("generated") : a.output) + ".manifest.json";
  if (!manifest.empty()) {
    const std::string json = volpgen::ManifestJson(o, s, a.output);
    volp::cli::FileInPlace m;
    if (!m.Open(manifest, &error) ||
        std::fwrite(json.data(), 1, json.size(), m.stream()) != json.size() || !m.Commit(&error))
      throw CLI::RuntimeError("volp generate: cannot write " + manifest + ": " + error, 2);
  }
  std::FILE* info = to_stdout ? stderr : stdout;
  std::fprintf(info, "%s: %lld lines, %lld bytes, %lld transactions in %.2f s (%.0f MB/s)\n",
               a.output.c_str(), static_cast<long long>(s.lines), static_cast<long long>(s.bytes),
               static_cast<long long>(s.transactions), secs,
               secs > 0 ? static_cast<double>(s.bytes) / secs / 1e6 : 0.0);
  if (!manifest.empty())
    std::fprintf(info, "manifest (UTF-8): %s, %zu fault(s) applied\n", manifest.c_str(),
                 s.faults.size());
  for (const volpgen::FaultRequest& u : s.unplaced)
    std::fprintf(stderr, "warning: fault %s found no record to apply to\n",
                 volpgen::FaultName(u.kind));
  if (!s.unplaced.empty()) throw CLI::RuntimeError(2);
}

}  // namespace

void AddGenerateCommand(CLI::App& app) {
  auto args = std::make_shared<GenerateArgs>();
  CLI::App* sub = app.add_subcommand(
      "generate",
      "Write a realistic declaration file that is valid by construction, optionally with "
      "injected faults and a manifest (JSON, UTF-8) of the findings each fault must produce.");
  volpgen::Options& o = args->options;
  auto* lines = sub->add_option("--lines", o.lines, "About this many lines in all");
  sub->add_option("--transactions", o.transactions,
                  "Exactly this many transactions (1115); default 2000")
      ->excludes(lines);
  sub->add_option("--clients", o.clients,
                  "Clients (0100; 0600 institutions in finalidade 6); default from the size");
  sub->add_option("--devices", o.devices, "Capture devices (0200); default 1.5 per client");
  sub->add_option("--seed", o.seed, "Random seed: the same seed gives the same bytes")
      ->capture_default_str();
  sub->add_option("--finalidade", o.finalidade,
                  "1 normal, 2 retificador, 3 notificação, 4 zerado, 5 encerramento, 6 "
                  "autorização")
      ->check(CLI::Range(1, 6))
      ->capture_default_str();
  sub->add_option("--period", o.period,
                  "Year and month declared, AAAAMM (the last one in finalidade 3)")
      ->capture_default_str();
  sub->add_option("--months", o.months, "Finalidade 3: months covered by the notice")
      ->capture_default_str();
  sub->add_option("--uf", o.uf_fisco, "UF_FISCO, the fiscal authority's unit")
      ->capture_default_str();
  sub->add_option("-o,--output", args->output,
                  "Output file ('-' for standard output); written beside it and renamed over it "
                  "when whole")
      ->required();
  sub->add_option("--faults", args->faults, kFaultHelp);
  sub->add_option("--manifest", args->manifest,
                  "Manifest file (default <output>.manifest.json when --faults is given)");
  sub->callback([args] { RunGenerate(*args); });
}
