// The reader against a plain reference splitter. The first byte picks the
// read block size, so that lines, pipes and bad bytes fall across block
// boundaries in every way, the size of the pieces read at a time, and whether
// the run stops after the middle line; the rest is the file. Lines, the pipe
// and non-Latin-1 maps and the digest (of the lines taken) must be what the
// reference says, and each line split ahead of time the texts between its
// pipes.
#include <cstdint>

#include "core/record_types.hpp"
#include "fuzz_support.hpp"
#include "platform/platform.hpp"
#include "reading/line_source.hpp"

namespace {

constexpr size_t kBlocks[] = {1, 2, 3, 5, 63, 64, 65, 127, 1000, 4096, 9998, 9999, 10000, 10001};
constexpr size_t kReads[] = {0, 64, 128, 4096};  // bytes read at a time (0: the default)
constexpr size_t kPiece = 9999;                  // the longest line; a longer one comes in pieces

bool Bit(const uint64_t* map, size_t i) { return (map[i >> 6] >> (i & 63)) & 1; }

bool Bad(unsigned char c) { return c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F); }

// The reference: a line ends after its LF; no LF within 9,999 bytes makes a
// 9,999-byte piece; the file's last bytes without an LF are a line too.
std::string_view ReferenceNext(std::string_view rest) {
  const size_t lf = rest.substr(0, kPiece).find('\n');
  if (lf != std::string_view::npos) return rest.substr(0, lf + 1);
  return rest.substr(0, kPiece);
}

// A line the reading thread split ahead of time must be one the frame checks
// accept (CR LF, a pipe at both ends, shorter than 255 bytes) and its record
// the texts between the pipes, the first a known type, no more fields than
// its layout.
void CheckPreSplit(std::string_view line, const volp::PreSplitLine& pre,
                   const volp::LineSource& source) {
  using volp::fuzz::Check;
  volp::Record rec;
  volp::TakePreSplit(line.data(), pre, source.presplit_ends() + pre.ends_at, rec);
  Check(line.size() >= 5 && line.size() - 2 < 255 && line.substr(line.size() - 2) == "\r\n",
        "split ahead: frame");
  const std::string_view body = line.substr(0, line.size() - 2);
  Check(body.front() == '|' && body.back() == '|', "split ahead: pipes at the ends");
  bool control = false;
  for (char c : body) control |= Bad(static_cast<unsigned char>(c));
  Check(rec.has_control == control, "split ahead: control bytes");
  int i = 0;
  for (size_t pos = 1, bar; (bar = body.find('|', pos)) != std::string_view::npos;
       pos = bar + 1, ++i) {
    Check(i < rec.found && rec.text(i) == body.substr(pos, bar - pos), "split ahead: field text");
    Check(rec.filled(i) == (bar > pos), "split ahead: filled");
  }
  Check(i == rec.found && rec.found <= rec.field_count(), "split ahead: field count");
  Check(volp::FindRecordType(rec.text(0)) == rec.type_index, "split ahead: type");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace volp::fuzz;
  if (size == 0) return 0;
  const size_t block = kBlocks[data[0] % std::size(kBlocks)];
  const size_t read = kReads[data[0] / std::size(kBlocks) % std::size(kReads)];
  const bool stop_early = data[0] >= 128;
  std::string_view content(reinterpret_cast<const char*>(data) + 1, size - 1);
  // Tiny blocks cost a hand-over between the threads per block: keep their
  // files short so the fuzzer stays fast.
  if (block < 64 && content.size() > 4096) content = content.substr(0, 4096);
  const std::string path = ScratchDir() + "/reader.txt";
  WriteAll(path, content);

  volp::platform::InputFile file;
  int error = 0;
  Check(file.Open(path, &error), "open");
  // A run that stops early takes the lines up to the middle one.
  size_t lines = 0;
  for (std::string_view rest = content; !rest.empty(); ++lines)
    rest.remove_prefix(ReferenceNext(rest).size());
  const size_t last = stop_early ? lines / 2 : lines;
  volp::Sha256 digest;
  std::string got_hex;
  {
    volp::LineSource source(file, &digest, nullptr, block, read);
    std::string_view rest = content;
    std::string_view line;
    size_t n = 0;
    while (n <= last && source.Next(&line)) {
      const std::string_view want = ReferenceNext(rest);
      Check(line == want,
            "line " + std::to_string(n) + " differs (block " + std::to_string(block) + ")");
      if (const volp::LineBits* bits = source.bits()) {
        for (size_t i = 0; i < line.size(); ++i) {
          const unsigned char c = static_cast<unsigned char>(line[i]);
          Check(Bit(bits->bar, bits->first + i) == (c == '|'), "pipe map");
          Check(Bit(bits->bad, bits->first + i) == Bad(c), "bad-byte map");
        }
      }
      if (const volp::PreSplitLine* pre = source.presplit()) CheckPreSplit(line, *pre, source);
      rest.remove_prefix(want.size());
      ++n;
    }
    Check(stop_early || rest.empty(), "lines missing at the end");
    Check(!source.read_failed(), "read failed");
    content.remove_suffix(rest.size());
    Check(source.FinishHash(static_cast<int64_t>(content.size()), true), "hash");
  }
  Check(digest.Final(&got_hex), "digest");
  volp::Sha256 whole;
  std::string want_hex;
  whole.Update(content.data(), content.size());
  whole.Final(&want_hex);
  Check(got_hex == want_hex, "digest differs");
  return 0;
}
