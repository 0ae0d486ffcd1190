// The block reader against a plain reading of the same bytes: the lines, the
// maps of each line and the digest, for many block and piece sizes, with and
// without the reading thread, and for runs that stop early.
#include "reading/line_source.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "platform/platform.hpp"
#include "support.hpp"

namespace volp {
namespace {

constexpr size_t kMaxLine = 9999;

// The lines of `bytes` read the plain way: up to and including a LF, at most
// 9,999 bytes each.
std::vector<std::string> PlainLines(const std::string& bytes) {
  std::vector<std::string> out;
  for (size_t pos = 0; pos < bytes.size();) {
    const size_t window = std::min(bytes.size() - pos, kMaxLine);
    const size_t lf = bytes.find('\n', pos);
    const size_t len = lf != std::string::npos && lf < pos + window ? lf + 1 - pos : window;
    out.push_back(bytes.substr(pos, len));
    pos += len;
  }
  return out;
}

std::string Digest(std::string_view bytes) {
  Sha256 sha;
  EXPECT_TRUE(sha.Update(bytes.data(), bytes.size()));
  std::string hex;
  EXPECT_TRUE(sha.Final(&hex));
  return hex;
}

bool Bad(unsigned char c) { return c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F); }

// Lines of random lengths (some over 9,999 bytes) with pipes, control bytes
// and upper Latin-1 bytes, and no line end at the very end.
std::string RandomText(uint32_t seed, size_t size) {
  std::mt19937 rng(seed);
  std::string s;
  while (s.size() < size) {
    const size_t len = rng() % 50 == 0 ? 9000 + rng() % 3000 : rng() % 200;
    for (size_t i = 0; i < len; ++i) {
      const uint32_t r = rng() % 16;
      s.push_back(r == 0 ? '|' : r == 1 ? static_cast<char>(rng() % 256) : 'a' + r);
    }
    s += rng() % 8 == 0 ? "\n" : "\r\n";
  }
  return s + "tail|\x85";
}

// Lines of exactly 64 bytes: with block sizes that are multiples of 64 some
// line ends where a block does.
std::string EvenText(size_t lines) {
  std::string line = "|1115|" + std::string(56, '7') + "\r\n";
  std::string s;
  for (size_t i = 0; i < lines; ++i) s += line;
  return s;
}

struct Config {
  size_t block, piece;
  bool thread;
};

std::string Name(const Config& c) {
  return "block " + std::to_string(c.block) + ", piece " + std::to_string(c.piece) +
         (c.thread ? ", thread" : ", no thread");
}

const Config kConfigs[] = {
    {0, 0, true},              // the defaults: 2 MiB blocks of 256 KiB pieces
    {0, 0, false},             // the same on the caller's thread
    {4096, 64, true},          // a read per 64 bytes
    {4096, 1000, true},        // a piece that is no multiple of 64
    {1000, 256, true},         // a block that is no multiple of 64 ends in a short piece
    {10000, 0, true},          // the piece is the whole block
    {65536 + 7, 4096, false},  // odd block, on the caller's thread
    {20000, 8192, true},       // a block just over the longest line
};

class Reading {
 public:
  Reading(const std::string& bytes, const Config& c) : path_(dir_.Write("f.txt", bytes)) {
    int err = 0;
    EXPECT_TRUE(file_.Open(path_, &err));
    src_.emplace(file_, &sha_, nullptr, c.block, c.piece, c.thread);
  }
  LineSource& src() { return *src_; }
  // Stops the reading with `upto` bytes taken and gives their digest.
  std::string Finish(int64_t upto) {
    EXPECT_TRUE(src_->FinishHash(upto, true));
    std::string hex;
    EXPECT_TRUE(sha_.Final(&hex));
    return hex;
  }

 private:
  test::TempDir dir_;
  std::string path_;
  platform::InputFile file_;
  Sha256 sha_;
  std::optional<LineSource> src_;
};

TEST(LineSource, LinesMapsAndDigestMatchThePlainReading) {
  const std::string texts[] = {RandomText(7, 300000), EvenText(3000), "", "no line end",
                               std::string(30000, '|')};
  size_t lines = 0, mapped = 0;
  for (const std::string& bytes : texts) {
    const std::vector<std::string> want = PlainLines(bytes);
    for (const Config& c : kConfigs) {
      SCOPED_TRACE(Name(c) + ", " + std::to_string(bytes.size()) + " bytes");
      Reading r(bytes, c);
      std::vector<std::string> got;
      std::string_view line;
      while (r.src().Next(&line)) {
        got.emplace_back(line);
        const LineBits* bits = r.src().bits();
        if (bits == nullptr) continue;  // its start was carried over from the block before
        ++mapped;
        for (size_t i = 0; i < line.size(); ++i) {
          const size_t at = bits->first + i;
          const unsigned char ch = static_cast<unsigned char>(line[i]);
          ASSERT_EQ((bits->bar[at >> 6] >> (at & 63) & 1) != 0, ch == '|')
              << "line " << got.size() << " byte " << i;
          ASSERT_EQ((bits->bad[at >> 6] >> (at & 63) & 1) != 0, Bad(ch))
              << "line " << got.size() << " byte " << i;
        }
      }
      EXPECT_FALSE(r.src().read_failed());
      ASSERT_EQ(got, want);
      lines += got.size();
      EXPECT_EQ(r.Finish(static_cast<int64_t>(bytes.size())), Digest(bytes));
    }
  }
  // Lines with a carried start are the exception, not the rule.
  EXPECT_GT(mapped * 2, lines);
}

// A run that stops early takes the digest of the lines it took, however far
// the reading went ahead of it.
TEST(LineSource, EarlyStopDigestsOnlyTheLinesTaken) {
  const std::string texts[] = {RandomText(11, 200000), EvenText(2000)};
  for (const std::string& bytes : texts) {
    const std::vector<std::string> lines = PlainLines(bytes);
    std::vector<int64_t> ends;  // end offset of each line
    int64_t end = 0;
    for (const std::string& l : lines) ends.push_back(end += static_cast<int64_t>(l.size()));
    for (const Config& c : kConfigs) {
      const int64_t block = c.block != 0 ? static_cast<int64_t>(c.block) : int64_t{4} << 20;
      // The line taken last: the first, one in the middle, the one before
      // the last, and one that ends where a block does.
      std::vector<size_t> stops = {0, lines.size() / 2, lines.size() - 2};
      for (size_t i = 0; i < lines.size(); ++i)
        if (ends[i] % block == 0) {
          stops.push_back(i);
          break;
        }
      for (const size_t stop : stops) {
        // `ahead`: the next line was asked for (so the block in hand may be
        // the next one) but not taken.
        for (const bool ahead : {false, true}) {
          SCOPED_TRACE(Name(c) + ", stop after line " + std::to_string(stop) +
                       (ahead ? ", next line read" : ""));
          Reading r(bytes, c);
          std::string_view line;
          for (size_t i = 0; i <= stop + (ahead ? 1 : 0); ++i) ASSERT_TRUE(r.src().Next(&line));
          const int64_t upto = ends[stop];
          EXPECT_EQ(r.Finish(upto), Digest(std::string_view(bytes).substr(0, upto)));
        }
      }
    }
  }
}

TEST(LineSource, NothingTakenIsTheDigestOfNothing) {
  const std::string bytes = RandomText(3, 100000);
  for (const Config& c : kConfigs) {
    SCOPED_TRACE(Name(c));
    for (const bool first_line_read : {false, true}) {
      Reading r(bytes, c);
      std::string_view line;
      if (first_line_read) {
        ASSERT_TRUE(r.src().Next(&line));
      }
      EXPECT_EQ(r.Finish(0), Digest(""));
    }
  }
}

struct DisarmFaults {
  ~DisarmFaults() { platform::ArmFault(0); }
};

// A read that fails ends the file where it failed: the lines and the digest
// are those of the bytes read before it.
TEST(LineSource, ReadErrorEndsTheFileThere) {
  const std::string bytes = RandomText(5, 100000);
  const struct {
    Config config;
    int64_t failing_read;
    size_t bytes_before;
  } cases[] = {
      {{4096, 1024, true}, 1, 0},
      {{4096, 1024, true}, 4, 3 * 1024},  // the last piece of the first block
      {{4096, 1024, false}, 7, 6 * 1024},
      {{1000, 256, true}, 5, 1000},  // the first piece of the second block
      {{0, 0, true}, 1, 0},
  };
  DisarmFaults disarm;
  for (const auto& c : cases) {
    SCOPED_TRACE(Name(c.config) + ", read " + std::to_string(c.failing_read) + " fails");
    // Armed first: the reading thread starts reading at once. Only reads
    // count, so the opening of the file does not.
    platform::ArmFault(c.failing_read, platform::FaultBit(platform::FaultOp::kRead));
    Reading r(bytes, c.config);
    std::string joined;
    std::string_view line;
    while (r.src().Next(&line)) joined += line;
    const std::string_view before = std::string_view(bytes).substr(0, c.bytes_before);
    EXPECT_TRUE(r.src().read_failed());
    EXPECT_EQ(joined, before);
    EXPECT_EQ(r.Finish(static_cast<int64_t>(joined.size())), Digest(before));
    platform::ArmFault(0);
  }
}

// A copy goes on from where the original was and on its own.
TEST(Sha256Copy, CopiesTheStateNotTheObject) {
  const std::string a(1000, 'a'), b = "bbb";
  Sha256 original, copy;
  ASSERT_TRUE(original.Update(a.data(), 100));
  ASSERT_TRUE(copy.Update(b.data(), b.size()));  // state the copy must replace
  ASSERT_TRUE(copy.CopyFrom(original));
  ASSERT_TRUE(original.Update(b.data(), b.size()));
  ASSERT_TRUE(copy.Update(a.data() + 100, 900));
  std::string h1, h2;
  ASSERT_TRUE(original.Final(&h1));
  ASSERT_TRUE(copy.Final(&h2));
  EXPECT_EQ(h1, Digest(a.substr(0, 100) + b));
  EXPECT_EQ(h2, Digest(a));
}

}  // namespace
}  // namespace volp
