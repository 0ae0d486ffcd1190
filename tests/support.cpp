#include "support.hpp"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "platform/platform.hpp"
#include "reading/file_lines.hpp"
#include "reading/line_bits.hpp"
#include "reading/reader.hpp"
#include "structure/state_machine.hpp"

namespace volp::test {

namespace fs = std::filesystem;

std::string DataDir() { return VOLP_REPO_DATA_DIR; }

TempDir::TempDir() {
  static std::atomic<int> counter{0};
  fs::path p = fs::temp_directory_path() / ("volp-test-" + std::to_string(platform::ProcessId()) +
                                            "-" + std::to_string(counter++));
  fs::remove_all(p);
  fs::create_directories(p);
  path_ = p.string();
}

TempDir::~TempDir() {
  std::error_code ec;
  fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
  fs::remove_all(path_, ec);
}

std::string TempDir::Write(const std::string& name, std::string_view bytes) const {
  std::string p = path_ + "/" + name;
  std::ofstream out(p, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return p;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string ReadText(const std::string& path) {
  std::string text = ReadFile(path);
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    out.push_back(text[i]);
  }
  return out;
}

std::string Lines(const std::vector<std::string>& lines) {
  std::string out;
  for (const std::string& l : lines) out += l + "\r\n";
  return out;
}

Result ValidateText(std::string_view content, std::string* report, Options options) {
  TempDir dir;
  std::string path = dir.Write("declaracao.txt", content);
  if (options.tables_dir.empty()) options.tables_dir = DataDir();
  if (options.today.empty()) options.today = kToday;
  Result r = Validate(path, options);
  if (report != nullptr) *report = ReadText(r.report_path);
  return r;
}

std::string MaskReport(std::string xml) {
  static const std::regex kVolatile(
      "<(TempoTotalProcessamento|Leitura|Varredura|Registros|GravacaoValidacao|GravacaoRCAD|"
      "ValidadorMicrosegundos|ValidadorSegundos)>[0-9]+</");
  xml = std::regex_replace(xml, kVolatile, "<$1>#</");
  static const std::regex kText(
      "<(DataHoraValidacao|VersaoDLL|VersaoZulKop|NomeArquivo|PID)>[^<]*</");
  xml = std::regex_replace(xml, kText, "<$1>#</");
  return xml;
}

std::string L1(std::string_view utf8) {
  std::string out;
  for (size_t i = 0; i < utf8.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(utf8[i]);
    if (c >= 0xC0 && i + 1 < utf8.size()) {
      out.push_back(static_cast<char>(((c & 0x03) << 6) | (utf8[i + 1] & 0x3F)));
      ++i;
    } else {
      out.push_back(static_cast<char>(c));
    }
  }
  return out;
}

RunFixture::RunFixture()
    : run(ps, log, municipios, options, rules.block0, rules.block1, rules.block9) {
  LerCodigosMunicipioIBGE(DataDir(), log, municipios);
  run.today = kToday;
  run.earlier = &fed;
}

bool RunFixture::FedLines::LineAt(int64_t offset, std::string_view* line) {
  const auto it = at.find(offset);
  if (it == at.end()) return false;
  *line = CutLine(it->second);
  return true;
}

int RunFixture::Split(std::string_view line) {
  std::string raw(line);
  if (raw.empty() || (raw.back() != '\n' && raw.back() != '\r')) raw += "\r\n";
  return SplitRaw(raw);
}

void RunFixture::Advance(size_t bytes) {
  ++run.ctx.records_read;
  run.ctx.offset = run.ctx.end_offset;
  run.ctx.end_offset += static_cast<int64_t>(bytes);
  ++run.ctx.line;
}

int RunFixture::SplitRaw(std::string_view line) {
  // The record's views must outlive this call: keep the text.
  lines_.emplace_back(line);
  Advance(lines_.back().size());
  fed.at[run.ctx.offset] = lines_.back();
  return CheckAndSplit(run, lines_.back(), rec);
}

int RunFixture::SplitFromBits(std::string_view line, size_t align, char filler) {
  std::string block(align, filler);
  block.append(line);
  block.append(67, filler);
  lines_.push_back(std::move(block));
  const std::string& b = lines_.back();
  const size_t words = BitWords(b.size());
  std::vector<uint64_t>& m = maps_.emplace_back(3 * words);
  ClassifyBytes(b.data(), b.size(), m.data(), m.data() + words, m.data() + 2 * words);
  const LineBits bits{m.data() + words, m.data() + 2 * words, align};
  Advance(line.size());
  fed.at[run.ctx.offset] = std::string_view(b).substr(align, line.size());
  return CheckAndSplit(run, std::string_view(b).substr(align, line.size()), rec, &bits);
}

int RunFixture::Feed(std::string_view line) {
  const int type = Split(line);
  if (type < 0) {
    ++ps.unknown_records;
    return type;
  }
  ++ps.known_records;
  ++ps.findings.per_type[type].count;
  const char* code = kRecordTypes[type].code;
  switch (code[0]) {
    case '0':
      ++run.ctx.block0;
      break;
    case '1':
      ++run.ctx.block1;
      break;
    case '9':
      ++run.ctx.block9;
      break;
  }
  StepStateMachine(run, rec);
  run.ctx.previous_type = std::atoi(code);
  run.ctx.previous_type_index = type;
  return type;
}

std::vector<std::string> RunFixture::Messages() const {
  std::vector<std::string> out;
  for (const Finding& f : ps.findings.list) out.push_back(f.message);
  return out;
}

}  // namespace volp::test
