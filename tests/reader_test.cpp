// The reader and the splitter: framing findings, pieces of over-long lines,
// tokens, the limits of the run loop and the digest.
#include "reading/reader.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "declaration_builder.hpp"
#include "driver/validator.hpp"
#include "reading/line_source.hpp"
#include "reading/presplit.hpp"
#include "support.hpp"

namespace volp {
namespace {

using test::L1;

struct SplitCase {
  std::string line;  // as read, line end included
  int type;          // expected type row, -1 unknown
  std::vector<std::string> messages;
  std::vector<std::string> fields;  // leading fields expected (from row 0)
};

TEST(Splitter, FramingAndTokens) {
  const std::vector<SplitCase> cases = {
      {"|0000|\r\n", kR0000, {}, {"0000", "", ""}},
      {"|0001|1|\r\n", kR0001, {}, {"0001", "1"}},
      {"|0001|1|\n",
       kR0001,
       {"Encontrou o caractere LF no final do registro e faltou antes o caractere CR. Cada "
        "registro do arquivo deve terminar com CR e LF."},
       {"0001", "1"}},
      {"|0001|1|\r",
       kR0001,
       {"Encontrou o caractere CR no final do registro e faltou o caractere LF. Cada registro do "
        "arquivo deve termincar com CR e LF."},
       {"0001", "1"}},
      {"|0001|1|", kR0001, {}, {"0001", "1"}},  // last line without line end
      // A line of nothing but its line end, either one alone.
      {"\r",
       -1,
       {"Encontrou o caractere CR no final do registro e faltou o caractere LF. Cada registro do "
        "arquivo deve termincar com CR e LF.",
        L1("O registro está vazio!")},
       {}},
      {"\n",
       -1,
       {"Encontrou o caractere LF no final do registro e faltou antes o caractere CR. Cada "
        "registro do arquivo deve terminar com CR e LF.",
        L1("O registro está vazio!")},
       {}},
      {"\r\n", -1, {L1("O registro está vazio!")}, {}},
      {"abc\r\n",
       -1,
       {L1("O primeiro caractere do registro é 'a' mas deveria ser '|' (pipe)."),
        L1("O último caractere do registro é 'c' mas deveria ser '|' (pipe).")},
       {}},
      {"0000|a|\r\n",
       -1,
       {L1("O primeiro caractere do registro é '0' mas deveria ser '|' (pipe)."),
        L1("O registro a é de tipo inválido.")},
       {}},
      // The text after the last pipe is never stored.
      {"|9999|5\r\n",
       kR9999,
       {L1("O último caractere do registro é '5' mas deveria ser '|' (pipe).")},
       {"9999", ""}},
      {"|0001|1|2|\r\n", kR0001, {L1("Número de campos excedido no registro.")}, {"0001", "1"}},
      {"|0001||\r\n", kR0001, {}, {"0001", ""}},
      {"|ABCD|1|\r\n", -1, {L1("O registro ABCD é de tipo inválido.")}, {}},
      {"|00001|1|\r\n", -1, {L1("O registro 00001 é de tipo inválido.")}, {}},
  };
  for (const SplitCase& c : cases) {
    test::RunFixture fx;
    EXPECT_EQ(fx.SplitRaw(c.line), c.type) << c.line;
    EXPECT_EQ(fx.Messages(), c.messages) << c.line;
    for (size_t i = 0; i < c.fields.size(); ++i)
      EXPECT_EQ(fx.rec.text(i), c.fields[i]) << c.line << " field " << i;
  }
}

TEST(Splitter, AgreesWithAPlainSplitOnRandomLines) {
  // Lines of every length around the 16-byte steps of the scanner, with
  // pipes and bytes outside Latin-1 text anywhere.
  uint64_t seed = 12345;
  auto next = [&] { return (seed = seed * 6364136223846793005ULL + 1442695040888963407ULL) >> 33; };
  const char alphabet[] = {'a', '1', '|', '|', ',', ' ', '\x01', '\x85', '\x7F', '\xE9'};
  for (int round = 0; round < 3000; ++round) {
    std::string body = "|1115|";
    const size_t len = next() % (round % 8 == 0 ? 700 : 70);  // some past 255 bytes
    for (size_t i = 0; i < len; ++i) body += alphabet[next() % sizeof alphabet];
    body += '|';
    test::RunFixture fx;
    ASSERT_EQ(fx.Split(body), kR1115) << body;

    std::vector<std::string> tokens;
    size_t start = 0;
    for (size_t p = body.find('|'); p != std::string::npos; p = body.find('|', start)) {
      tokens.push_back(body.substr(start, p - start));
      start = p + 1;
    }
    bool control = false;
    for (unsigned char c : body) control |= c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F);
    EXPECT_EQ(fx.rec.has_control, control) << body;
    const int stored = std::min<int>(static_cast<int>(tokens.size()) - 1, 10);
    ASSERT_EQ(fx.rec.found, stored) << body;
    for (int i = 0; i < stored; ++i) EXPECT_EQ(fx.rec.text(i), tokens[i + 1]) << body;
  }
}

TEST(Splitter, ColumnsAndPadding) {
  test::RunFixture fx;
  ASSERT_EQ(fx.Split("|1001|1|"), kR1001);
  EXPECT_EQ(fx.rec.found, 2);
  EXPECT_EQ(fx.rec.column(0), 2);
  EXPECT_EQ(fx.rec.column(1), 7);

  // Missing fields are empty, length 1, at the column before the final token.
  ASSERT_EQ(fx.Split("|0005|Nome|"), kR0005);
  EXPECT_EQ(fx.rec.found, 2);
  EXPECT_TRUE(fx.rec.text(2).empty());
  EXPECT_EQ(fx.rec.length(2), 1);
  EXPECT_EQ(fx.rec.column(8), 10);
}

TEST(Splitter, FieldOf255CharactersIsReported) {
  for (size_t n : {254u, 255u}) {
    test::RunFixture fx;
    fx.Split("|0005|" + std::string(n, 'x') + "|");
    const bool reported =
        !fx.Messages().empty() && fx.Messages()[0] == "Campo com tamanho maior que 255.";
    EXPECT_EQ(reported, n == 255) << n;
    if (reported) {
      const Finding& f = fx.ps.findings.list[0];
      EXPECT_EQ(f.field_number, 3);  // token 2 (type is token 1)
      EXPECT_EQ(f.record_type, "");
    }
  }
}

TEST(Splitter, TooManyFieldsDescribesTheRest) {
  test::RunFixture fx;
  fx.Split("|0001|1|xy|z|");
  ASSERT_EQ(fx.ps.findings.list.size(), 1u);
  const Finding& f = fx.ps.findings.list[0];
  EXPECT_EQ(f.record_type, "0001");
  EXPECT_EQ(f.field_number, 4);  // token 3
  EXPECT_EQ(f.column, 8);        // after field 02 (column 7, length 1)
  EXPECT_EQ(f.content, "xy|z|");
  EXPECT_EQ(f.length, 5);
}

// Everything the split leaves behind, as one text to compare.
std::string SplitOutcome(const test::RunFixture& fx, int type) {
  std::string out = std::to_string(type) + " found=" + std::to_string(fx.rec.found) +
                    " control=" + std::to_string(fx.rec.has_control) + "\n";
  if (type >= 0) {
    for (int i = 0; i < fx.rec.field_count(); ++i) {
      const Field& f = fx.rec.field(i);
      out += std::string(f.text) + "@" + std::to_string(f.column) + "/" + std::to_string(f.length) +
             "\n";
    }
  }
  for (const Finding& f : fx.ps.findings.list)
    out += std::to_string(f.field_number) + "@" + std::to_string(f.column) + "/" +
           std::to_string(f.length) + " [" + f.content + "] " + f.message + "\n";
  return out;
}

// A line of random tokens: pipes, digits, letters, blanks, control and
// accented bytes, a known or unknown type, any line end.
std::string RandomLine(std::mt19937& rng) {
  static const std::string kBytes = std::string("a1 |||\xE9") + '\x01' + '\x85' + '\x7F';
  static const char* const kTypes[] = {"1115", "0000", "0100", "9999", "XXXX", ""};
  static const char* const kEnds[] = {"\r\n", "\r\n", "\n", "\r", ""};
  auto pick = [&](size_t n) { return static_cast<size_t>(rng() % n); };
  std::string line = pick(8) == 0 ? "x" : "|";
  line += kTypes[pick(6)];
  const size_t tokens = pick(4) == 0 ? pick(80) : pick(14);
  for (size_t t = 0; t < tokens; ++t) {
    line += '|';
    const size_t len = pick(10) == 0 ? pick(120) : pick(12);
    for (size_t i = 0; i < len; ++i) line += pick(3) == 0 ? kBytes[pick(kBytes.size())] : '7';
  }
  if (pick(5) != 0) line += '|';
  return line + kEnds[pick(5)];
}

TEST(Splitter, BitMapsAgreeWithTheByteScan) {
  // The reader hands most lines over with the block's maps of pipes and
  // non-Latin-1 bytes; the split from them must equal the split that reads
  // the bytes, whatever the line's place in the 64-byte words and whatever
  // the bytes around it.
  std::mt19937 rng(2024);
  std::vector<std::string> lines = {"",
                                    "\r\n",
                                    "|",
                                    "||",
                                    "|1115",
                                    "|1115|",
                                    "|1115||\r\n",
                                    "x|1|",
                                    "\x01|0000|\r\n",
                                    "|0000|\x01",
                                    std::string(300, '|')};
  for (int i = 0; i < 4000; ++i) lines.push_back(RandomLine(rng));
  test::RunFixture bytes, maps;
  for (const std::string& line : lines) {
    const size_t align = rng() % 130;
    const char filler = "|\n\x01a"[rng() % 4];
    bytes.ps.findings.list.clear();
    maps.ps.findings.list.clear();
    const std::string a = SplitOutcome(bytes, bytes.SplitRaw(line));
    const std::string b = SplitOutcome(maps, maps.SplitFromBits(line, align, filler));
    ASSERT_EQ(a, b) << "line [" << line << "] at " << align;
  }
}

// Lines the reading thread splits ahead of time skip the frame checks and the
// split: for each of them the split must give the same record and report
// nothing. Random lines (most of them with something to report) mixed with
// clean ones, across block and piece edges, with and without the thread.
TEST(Splitter, LinesSplitAheadOfTimeAgreeWithTheSplit) {
  std::mt19937 rng(99);
  std::string text;
  for (int i = 0; i < 6000; ++i) {
    if (rng() % 2 == 0) {
      text += RandomLine(rng);
      continue;
    }
    static const char* const kTypes[] = {"1115", "1110", "0200", "9999"};
    std::string line = std::string("|") + kTypes[rng() % 4] + "|";
    for (size_t f = rng() % 6; f > 0; --f)
      line += std::string(rng() % 4, "7a\xE9\x01"[rng() % 4]) + "|";
    text += line + "\r\n";
  }
  test::TempDir dir;
  const std::string path = dir.Write("f.txt", text);
  test::RunFixture fx;
  struct Config {
    size_t block, piece;
    bool thread;
  };
  for (const Config c : {Config{4096, 256, true}, Config{4096, 4096, false}, Config{0, 0, true}}) {
    platform::InputFile file;
    int err = 0;
    ASSERT_TRUE(file.Open(path, &err));
    LineSource src(file, nullptr, nullptr, c.block, c.piece, c.thread);
    std::string_view line;
    size_t lines = 0, taken = 0;
    Record pre;
    while (src.Next(&line)) {
      ++lines;
      if (src.presplit() == nullptr) continue;
      ++taken;
      const int type = TakePreSplit(line.data(), *src.presplit(),
                                    src.presplit_ends() + src.presplit()->ends_at, pre);
      fx.ps.findings.list.clear();
      ASSERT_EQ(fx.SplitRaw(std::string(line)), type) << line;
      const Record& want = fx.rec;
      ASSERT_TRUE(fx.ps.findings.list.empty()) << line;
      ASSERT_EQ(pre.found, want.found) << line;
      ASSERT_EQ(pre.has_control, want.has_control) << line;
      ASSERT_EQ(pre.filled_bits, want.filled_bits) << line;
      ASSERT_EQ(pre.valid_bits, want.valid_bits) << line;
      for (int i = 0; i < want.field_count(); ++i) {
        ASSERT_EQ(pre.text(i), want.text(i)) << line << " field " << i;
        ASSERT_EQ(pre.column(i), want.column(i)) << line << " field " << i;
        ASSERT_EQ(pre.length(i), want.length(i)) << line << " field " << i;
      }
    }
    // Clean lines are taken, but for each block's first and those with more
    // fields than their layout.
    EXPECT_GT(taken * 4, lines) << c.block;
  }
}

// Reads every line of `bytes` through the block reader.
std::vector<std::string> ReadAll(const std::string& bytes, std::string* digest) {
  test::TempDir dir;
  std::string path = dir.Write("f.txt", bytes);
  platform::InputFile file;
  int err = 0;
  EXPECT_TRUE(file.Open(path, &err));
  Sha256 sha;
  std::vector<std::string> lines;
  {
    LineSource src(file, &sha);
    std::string_view l;
    while (src.Next(&l)) lines.emplace_back(l);
    EXPECT_TRUE(src.FinishHash(static_cast<int64_t>(bytes.size()), true));
  }
  sha.Final(digest);
  return lines;
}

TEST(LineSource, PiecesOfLongLinesAndBlockBoundaries) {
  // A line of 50,000 bytes comes in pieces of 9,999 bytes; lines straddle the
  // default blocks; NUL bytes are data.
  std::string big(50000, 'a');
  std::string bytes = "|0000|\r\n" + big + "\r\n";
  std::string filler;
  while (bytes.size() + filler.size() < (9u << 20))
    filler += "|1115|" + std::string(37, '\0') + "|\r\n";
  bytes += filler + "tail";
  std::string digest;
  std::vector<std::string> lines = ReadAll(bytes, &digest);
  ASSERT_GE(lines.size(), 8u);
  EXPECT_EQ(lines[0], "|0000|\r\n");
  for (int i = 1; i <= 5; ++i) EXPECT_EQ(lines[i].size(), 9999u) << i;
  EXPECT_EQ(lines[6], std::string(50000 - 5 * 9999, 'a') + "\r\n");
  EXPECT_EQ(lines.back(), "tail");
  std::string joined;
  for (const std::string& l : lines) joined += l;
  EXPECT_EQ(joined, bytes);

  // The digest of the blocks is the digest of the file.
  Sha256 whole;
  whole.Update(bytes.data(), bytes.size());
  std::string expected;
  whole.Final(&expected);
  EXPECT_EQ(digest, expected);
  EXPECT_EQ(digest.size(), 64u);
}

// The stem is the path up to its last ".", wherever it is; only the first
// 999 characters of the path are looked at.
TEST(ReportName, StemIsCutAtTheLastDotOfTheWholePath) {
  const std::string longo(995, 'a');
  const struct {
    std::string path, report;
  } cases[] = {
      {"/d/arq.txt", "/d/arq.validacao.xml"},
      {"/d/arq.2025.txt", "/d/arq.2025.validacao.xml"},
      {"/d.x/arq", "/d.validacao.xml"},
      {"d.x\\arq", "d.validacao.xml"},
      {"./arq", ".validacao.xml"},
      {"arq", "arq.validacao.xml"},
      {"arq.", "arq.validacao.xml"},
      {"", ".validacao.xml"},
      {"/d/" + longo + ".txt", "/d/" + longo + ".validacao.xml"},  // its dot is the 999th
      {"/d.x/" + longo + ".txt", "/d.validacao.xml"},  // its own dot lies past the 999th
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ReportNameFor(c.path), c.report) << c.path;
    EXPECT_EQ(ReportPath(c.path), c.report) << c.path;
  }
}

TEST(Run, DigestOfTheWholeFileAndCounts) {
  std::string content = test::Lines({"|0000|", "|0001|1|", "|XXXX|"}) + "|9999|3";
  std::string report;
  Result r = test::ValidateText(content, &report);
  EXPECT_TRUE(r.completed);
  EXPECT_EQ(r.records_read, 4);
  EXPECT_EQ(r.unknown_records, 1);
  Sha256 sha;
  sha.Update(content.data(), content.size());
  std::string expected;
  sha.Final(&expected);
  EXPECT_EQ(r.sha256, expected);
}

TEST(Run, HundredUnknownRecordsStopTheRun) {
  std::vector<std::string> lines(150, "|ABCD|");
  Result r = test::ValidateText(test::Lines(lines));
  EXPECT_TRUE(r.completed);
  EXPECT_EQ(r.unknown_records, 100);
  ASSERT_FALSE(r.findings.empty());
  EXPECT_EQ(r.findings.back().message,
            L1("Parou a validação porque encontrou 100 tipos de registro inválidos!"));
  // The required-record check is skipped.
  for (const Finding& f : r.findings)
    EXPECT_EQ(f.message.find("obrigat"), std::string::npos) << f.message;
}

TEST(Run, ThreeThousandErrorsStopTheRunAtTheNextLine) {
  // Every 0001 after the first is out of place, one error each: lines 3 to
  // 3,002 make exactly 3,000 errors, and the run stops as line 3,003 starts.
  const std::string opening = "|0000|07|1|SP|11222333000181|Empresa|20251001|20251031|1|202511|";
  std::vector<std::string> lines(3010, "|0001|1|");
  lines[0] = opening;
  Result r = test::ValidateText(test::Lines(lines));
  EXPECT_TRUE(r.completed);
  EXPECT_EQ(r.records_read, 3003);
  EXPECT_EQ(r.errors, 3001);
  ASSERT_EQ(r.findings.size(), 3001u);
  const Finding& stop = r.findings.back();
  EXPECT_EQ(stop.message, L1("Parou a validação porque encontrou muitos erros!"));
  EXPECT_EQ(stop.severity, 2);
  EXPECT_EQ(stop.line, 3003);
  EXPECT_EQ(stop.offset, static_cast<int64_t>(opening.size() + 2 + 3001 * 10));
  EXPECT_EQ(r.findings[r.findings.size() - 2].line, 3002);
}

TEST(Run, EmptyFileListsEveryRequiredRecord) {
  // The end checks run from the first state: every required type is missing,
  // and so is its 9900.
  Result r = test::ValidateText("");
  EXPECT_TRUE(r.completed);
  std::vector<std::string> missing;
  int missing_9900 = 0;
  for (const Finding& f : r.findings) {
    EXPECT_EQ(f.line, 0);
    if (f.message.find(L1("é obrigatório mas não foi encontrado")) != std::string::npos)
      missing.push_back(f.record_type);
    else if (f.message.find(L1("Não encontrou o registro 9900")) != std::string::npos)
      ++missing_9900;
  }
  EXPECT_EQ(missing, (std::vector<std::string>{"0000", "0001", "0005", "0990", "1001", "1990",
                                               "9001", "9900", "9990", "9999"}));
  EXPECT_EQ(missing_9900, 10);
  EXPECT_EQ(r.findings.size(), 20u);
}

TEST(Run, HostileContentStillEndsInACompleteReport) {
  // Whatever the bytes, the run ends with a whole report in place (and no
  // working file left), carrying the finding that names the problem.
  std::string garbage;
  for (int i = 0; i < 4096; ++i) garbage.push_back(static_cast<char>((i * 7919) % 256));
  const struct {
    const char* name;
    std::string content;
    std::string expected;  // a message the report must hold
  } cases[] = {
      {"line of 50,000 bytes", "|0000|" + std::string(50000, 'x') + "|\r\n",
       "Campo com tamanho maior que 255."},
      {"no final CR LF", test::Lines({"|0000|"}) + "|0001|1|",
       L1("O registro 0005 é obrigatório mas não foi encontrado no arquivo.")},
      {"NUL bytes", std::string("|0000|07|1|SP|\0\0|\r\n", 20),
       L1("não representável na codificação ASC-II")},
      {"UTF-8 text", test::Lines({"|0005|Padaria São João|"}),
       L1("Deveria ter o registro 0000 e não o 0005.")},
      {"binary garbage", garbage, L1("é de tipo inválido.")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    const std::string path = dir.Write("decl.txt", c.content);
    Options o;
    o.tables_dir = test::DataDir();
    o.today = test::kToday;
    const Result r = Validate(path, o);
    EXPECT_TRUE(r.completed);
    const std::string xml = test::ReadText(r.report_path);
    ASSERT_GE(xml.size(), 8u);
    EXPECT_EQ(xml.substr(xml.size() - 8), "</VOLP>\n");
    EXPECT_FALSE(std::filesystem::exists(r.report_path + ".parcial"));
    EXPECT_NE(xml.find(c.expected), std::string::npos) << c.expected;
  }
}

TEST(Run, BadInputGivesAFailureNotACrash) {
  test::TempDir dir;
  Options o;
  o.tables_dir = test::DataDir();
  Result missing = Validate(dir.path() + "/nao-existe.txt", o);
  EXPECT_FALSE(missing.completed);
  EXPECT_EQ(missing.failure.rfind("E#C9102", 0), 0u) << missing.failure;

  Result directory = Validate(dir.path(), o);
  EXPECT_FALSE(directory.completed);
  EXPECT_EQ(directory.failure.rfind("E#C9103", 0), 0u) << directory.failure;

  o.tables_dir = dir.path();  // no municipality table there
  Result no_table = Validate(dir.Write("a.txt", "|0000|\r\n"), o);
  EXPECT_FALSE(no_table.completed);
}

}  // namespace
}  // namespace volp

namespace volp {
namespace {

// How far a run read and why it ended: the caller must be able to tell a
// verdict on the whole file from one on its first part.
TEST(Run, SaysHowFarItReadAndWhy) {
  const std::string opening = "|0000|07|1|SP|11222333000181|Empresa|20251001|20251031|1|202511|";
  std::vector<std::string> errors(3010, "|0001|1|");
  errors[0] = opening;
  std::vector<std::string> unknown(150, "|ABCD|");
  // Clients declared and never used: a stop before block 1 makes every one
  // of them "sem referência".
  test::Declaration clients;
  for (int i = 0; i < 100010; ++i) clients.registry.push_back(test::Client(std::to_string(i)));
  const std::atomic<bool> raised{true};
  Options stopping;
  stopping.stop = &raised;

  struct Case {
    const char* name;
    std::string content;
    Options options;
    StopReason reason;
    int64_t last_line;
    bool follows_stop;  // some end-of-file finding follows from the stop
  };
  const std::string valid = test::Lines(test::Declaration{}.Lines());
  const Case cases[] = {
      {"whole file", valid, {}, StopReason::kNone, 19, false},
      {"error limit", test::Lines(errors), {}, StopReason::kErrorLimit, 3003, false},
      {"unknown types", test::Lines(unknown), {}, StopReason::kUnknownTypeLimit, 100, false},
      {"cancelled", test::Lines(clients.Lines()), stopping, StopReason::kCancelled, 100000, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Result r = test::ValidateText(c.content, nullptr, c.options);
    ASSERT_TRUE(r.completed) << r.failure;
    EXPECT_EQ(r.stop_reason, c.reason);
    EXPECT_EQ(r.read_whole_file(), c.reason == StopReason::kNone);
    EXPECT_EQ(r.last_line, c.last_line);
    EXPECT_EQ(r.bytes_read == r.file_size, c.reason == StopReason::kNone) << r.bytes_read;
    EXPECT_EQ(r.validation_date, test::kToday);
    EXPECT_GT(r.elapsed_seconds, 0);
    // The part read of each file is clean but for what made it stop: what the
    // end checks find after a cancel is all a consequence of it (clients
    // "sem referência" at their own lines, block 1 never read).
    const auto following = std::count_if(r.findings.begin(), r.findings.end(),
                                         [](const Finding& f) { return f.follows_stop; });
    EXPECT_EQ(following, c.follows_stop ? static_cast<long>(r.findings.size()) : 0);
    EXPECT_EQ(following > 0, c.follows_stop);
  }
}

TEST(Run, MessageTemplatesByCode) {
  EXPECT_EQ(MessageTemplate("VOLP-ARQUIVO-MUITOS-ERROS"),
            L1("Parou a validação porque encontrou muitos erros!"));
  EXPECT_EQ(MessageTemplate("VOLP-NO-SUCH-CODE"), "");
  EXPECT_STREQ(StopReasonName(StopReason::kErrorLimit), "error-limit");
  EXPECT_STREQ(StopReasonName(StopReason::kNone), "complete");
}

// A field as the plain token walk describes it: the text between two pipes,
// its 1-based column, its length; a field the line lacks is empty, of length
// 1, at the column of the last pipe.
struct PlainField {
  std::string text;
  int column;
  int length;
  bool operator==(const PlainField&) const = default;
};

// The fields of a line of a known type with `count` fields, the line end
// cut as the frame check cuts it. A line with more fields than its layout
// keeps the first `count`.
std::vector<PlainField> PlainFields(std::string line, int count) {
  if (line.size() >= 2 && line.compare(line.size() - 2, 2, "\r\n") == 0) {
    line.resize(line.size() - 2);
  } else if (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
    line.pop_back();
  }
  std::vector<size_t> starts = {0};  // where each token begins
  for (size_t p = 0; p < line.size(); ++p)
    if (line[p] == '|') starts.push_back(p + 1);
  auto token = [&](size_t k) {
    const size_t end = k + 1 < starts.size() ? starts[k + 1] - 1 : line.size();
    return line.substr(starts[k], end - starts[k]);
  };
  std::vector<PlainField> fields;
  // Token 1 is the type, stored even when no pipe closes it; the others up
  // to the final token are the fields.
  const size_t last = std::max<size_t>(starts.size() - 1, 2);
  for (size_t k = 1; k < last && static_cast<int>(fields.size()) < count; ++k) {
    const std::string t = token(k);
    fields.push_back({t, static_cast<int>(starts[k]) + 1, static_cast<int>(t.size())});
  }
  const int pad_column = static_cast<int>(starts.back()) - 1;
  while (static_cast<int>(fields.size()) < count) fields.push_back({"", pad_column, 1});
  return fields;
}

TEST(Splitter, FieldsAgreeWithAPlainTokenWalk) {
  // Every field of every layout row, padded or not, from both ways of
  // splitting, against texts, columns and lengths worked out token by token.
  std::mt19937 rng(77);
  test::RunFixture bytes, maps;
  for (int i = 0; i < 4000; ++i) {
    const std::string line = RandomLine(rng);
    const int type = bytes.SplitRaw(line);
    ASSERT_EQ(maps.SplitFromBits(line, rng() % 70, "|a"[rng() % 2]), type) << line;
    if (type < 0) continue;
    const std::vector<PlainField> want = PlainFields(line, kRecordTypes[type].field_count);
    for (const test::RunFixture* fx : {&bytes, &maps}) {
      const Record& rec = fx->rec;
      for (int f = 0; f < rec.field_count(); ++f) {
        const PlainField got{std::string(rec.text(f)), rec.column(f), rec.length(f)};
        ASSERT_EQ(got, want[f]) << "line [" << line << "] field " << f;
        ASSERT_EQ(rec.filled(f), !want[f].text.empty()) << "line [" << line << "] field " << f;
        ASSERT_EQ(rec.valid(f), f == 0) << "line [" << line << "] field " << f;
      }
    }
  }
}

}  // namespace
}  // namespace volp
