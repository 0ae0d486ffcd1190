// The JSON report: one UTF-8 document, well-formed whatever bytes the file
// held. Texts of the run are Latin-1 and go through Latin1ToUtf8; then every
// quote, backslash and control character is escaped, and so are "<", ">" and
// "&", so that the document can sit inside an HTML page or a <script> element
// as it is. The layout is described in docs/report-json.md and
// docs/report.schema.json.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "reports/outline.hpp"
#include "volp/reports.hpp"

namespace volp {
namespace {

// Raised when a field changes meaning or goes away; adding one keeps it.
constexpr int kFormatVersion = 1;

void AppendHexEscape(std::string& out, unsigned c) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += "\\u00";
  out.push_back(kHex[(c >> 4) & 0xF]);
  out.push_back(kHex[c & 0xF]);
}

// The bytes of a UTF-8 text that go into a JSON string as they are: all
// but controls, the quote, the backslash, the markup characters and the lead
// byte 0xC2 of the C1 controls (which is plain before anything else).
constexpr std::array<bool, 256> kPlainJson = [] {
  std::array<bool, 256> plain{};
  for (int c = 0x20; c < 256; ++c) plain[c] = true;
  for (int c : {0x22, 0x5C, 0x3C, 0x3E, 0x26, 0x7F, 0xC2}) plain[c] = false;  // " \ < > & DEL
  return plain;
}();

// A UTF-8 text as a JSON string, quotes included. C1 controls (U+0080 to
// U+009F, the bytes 0x80 to 0x9F of a Latin-1 field) are escaped as well:
// they are legal in JSON but invisible and meaningless in a message.
void AppendQuoted(std::string& out, std::string_view utf8) {
  out.push_back('"');
  const size_t n = utf8.size();
  for (size_t i = 0; i < n; ++i) {
    // The plain run up to the next byte to look at, in one piece.
    size_t plain = i;
    while (plain < n && kPlainJson[static_cast<unsigned char>(utf8[plain])]) ++plain;
    out.append(utf8.data() + i, plain - i);
    if (plain == n) break;
    i = plain;
    const auto c = static_cast<unsigned char>(utf8[i]);
    switch (c) {
      case '"':
        out += "\\\"";
        continue;
      case '\\':
        out += "\\\\";
        continue;
      case '\n':
        out += "\\n";
        continue;
      case '\r':
        out += "\\r";
        continue;
      case '\t':
        out += "\\t";
        continue;
      default:
        break;
    }
    const auto next = i + 1 < n ? static_cast<unsigned char>(utf8[i + 1]) : 0;
    if (c == 0xC2 && next >= 0x80 && next <= 0x9F) {
      AppendHexEscape(out, next);
      ++i;
    } else if (c == 0xC2) {
      out.push_back(static_cast<char>(c));
    } else {
      AppendHexEscape(out, c);  // other controls, DEL, "<", ">", "&"
    }
  }
  out.push_back('"');
}

// Writes the document with two spaces of indentation per level; containers
// opened `flat` stay on one line (the rows of tables and lists), which keeps
// the document short and a diff of two reports readable.
class JsonOut {
 public:
  explicit JsonOut(std::string& out) : out_(out) {}

  void Open(char bracket, bool flat = false) {
    BeforeValue();
    out_.push_back(bracket);
    levels_.push_back({bracket == '{' ? '}' : ']', flat || Flat(), true});
  }
  void Close() {
    const Level level = levels_.back();
    levels_.pop_back();
    if (!level.empty && !level.flat) NewLine();
    out_.push_back(level.close);
    if (levels_.empty()) out_.push_back('\n');
  }
  void Key(std::string_view key) {
    BeforeValue();
    out_.push_back('"');
    out_ += key;  // the keys are this file's own ASCII names
    out_ += "\": ";
    after_key_ = true;
  }
  void Text(std::string_view utf8) {
    BeforeValue();
    AppendQuoted(out_, utf8);
  }
  void Latin1(std::string_view latin1) { Text(Latin1ToUtf8(latin1)); }
  void Int(int64_t v) {
    BeforeValue();
    char buf[24];
    const auto r = std::to_chars(buf, buf + sizeof buf, v);
    out_.append(buf, r.ptr);
  }
  void Bool(bool v) {
    BeforeValue();
    out_ += v ? "true" : "false";
  }
  // A number written as it is (one with a fixed count of decimals).
  void Number(std::string_view digits) {
    BeforeValue();
    out_ += digits;
  }

  template <class T>
  void Field(std::string_view key, T value) {
    Key(key);
    if constexpr (std::is_same_v<T, bool>)
      Bool(value);
    else
      Int(static_cast<int64_t>(value));
  }
  void TextField(std::string_view key, std::string_view utf8) {
    Key(key);
    Text(utf8);
  }
  void Latin1Field(std::string_view key, std::string_view latin1) {
    Key(key);
    Latin1(latin1);
  }

 private:
  struct Level {
    char close;
    bool flat;
    bool empty;
  };
  bool Flat() const { return !levels_.empty() && levels_.back().flat; }
  void NewLine() {
    out_.push_back('\n');
    out_.append(2 * levels_.size(), ' ');
  }
  void BeforeValue() {
    if (after_key_) {
      after_key_ = false;
      return;
    }
    if (levels_.empty()) return;
    Level& level = levels_.back();
    if (!level.empty) out_.push_back(',');
    if (!level.flat)
      NewLine();
    else if (!level.empty)
      out_.push_back(' ');
    level.empty = false;
  }

  std::string& out_;
  std::vector<Level> levels_;
  bool after_key_ = false;
};

// "12.5": tenths of a per cent.
std::string Percent(int64_t per_mille) {
  return std::to_string(per_mille / 10) + "." + std::to_string(per_mille % 10);
}

// Seconds with three decimals, whatever the locale of the host program.
std::string Seconds(double s) {
  if (!(s >= 0) || s > 1e12) s = 0;
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, s, std::chars_format::fixed, 3);
  return std::string(buf, r.ptr);
}

void WriteVerdict(JsonOut& j, const Result& r) {
  const outline::Outcome outcome = outline::OutcomeOf(r);
  j.Key("verdict");
  j.Open('{');
  j.TextField("outcome", outline::OutcomeName(outcome));
  j.Field("valid", outcome == outline::Outcome::kValid);
  j.TextField("report_text", outline::XmlVerdict(r));
  j.Latin1Field("failure", r.failure);
  j.Close();

  j.Key("completeness");
  j.Open('{');
  j.Field("complete", r.read_whole_file());
  j.TextField("reason", r.completed ? StopReasonName(r.stop_reason) : "failed");
  j.Field("last_line", r.last_line);
  j.Field("bytes_read", r.bytes_read);
  j.Key("percent_read");
  j.Number(Percent(outline::PerMilleRead(r)));
  j.Close();
}

void WriteInput(JsonOut& j, const Result& r, const ReportOptions& o, size_t groups) {
  j.Key("input");
  j.Open('{');
  j.TextField("name", outline::NameToUtf8(o.input_name.empty() ? r.path : o.input_name));
  j.Field("size", r.file_size);
  j.Field("lines", r.records_read);
  j.TextField("sha256", r.sha256);
  j.Field("decompressed", o.decompressed);
  if (o.decompressed) j.TextField("note", "size, lines and sha256 are of the decompressed bytes");
  j.Close();

  j.Key("validation");
  j.Open('{');
  j.Latin1Field("date", r.validation_date);
  j.TextField("date_iso", outline::IsoDate(r.validation_date));
  j.Key("elapsed_seconds");
  j.Number(Seconds(r.elapsed_seconds));
  j.Close();

  j.Key("counts");
  j.Open('{');
  j.Field("errors", r.errors);
  j.Field("warnings", r.warnings);
  j.Field("rejected_lines", r.rejected_lines);
  j.Field("unknown_records", r.unknown_records);
  j.Field("findings_listed", r.findings.size());
  j.Field("groups", groups);
  j.Close();
}

void WriteTypes(JsonOut& j, const Result& r) {
  j.Key("record_types");
  j.Open('[');
  for (const TypeSummary& t : r.types) {
    j.Open('{', true);
    j.Latin1Field("code", t.code);
    j.Field("total", t.total);
    j.Field("errors", t.errors);
    j.Field("warnings", t.warnings);
    j.Field("rejected", t.rejected);
    j.Close();
  }
  j.Close();
}

void WriteGroups(JsonOut& j, const Result& r, const outline::Grouping& g) {
  j.Key("groups");
  j.Open('[');
  for (const outline::Group& group : g.groups) {
    const Finding& f = r.findings[group.first];
    j.Open('{');
    j.Latin1Field("code", f.code);
    j.Field("severity", f.severity);
    j.TextField("severity_text", outline::SeverityWord(f.severity));
    j.Latin1Field("template", MessageTemplate(f.code));
    j.Latin1Field("record_type", f.record_type);
    j.Field("field_number", f.field_number);
    j.Latin1Field("field_name", f.field_name);
    j.Field("count", group.count);
    j.Field("follows_stop", group.follows_stop);
    j.Field("first_line", f.line);
    j.Key("examples");
    j.Open('[');
    for (size_t i : group.examples) {
      const Finding& e = r.findings[i];
      j.Open('{', true);
      j.Field("line", e.line);
      j.Field("offset", e.offset);
      j.Field("column", e.column);
      j.Latin1Field("content", e.content);
      j.Latin1Field("message", e.message);
      j.Field("follows_stop", e.follows_stop);
      j.Close();
    }
    j.Close();
    j.Close();
  }
  j.Close();
}

void WriteAllFindings(JsonOut& j, const Result& r, const outline::Grouping& g) {
  j.Key("findings");
  j.Open('[');
  for (size_t i = 0; i < r.findings.size(); ++i) {
    const Finding& f = r.findings[i];
    j.Open('{', true);
    j.Field("line", f.line);
    j.Field("offset", f.offset);
    j.Latin1Field("record_type", f.record_type);
    j.Field("field_number", f.field_number);
    j.Latin1Field("field_name", f.field_name);
    j.Field("column", f.column);
    j.Field("length", f.length);
    j.Latin1Field("content", f.content);
    j.Latin1Field("message", f.message);
    j.Field("severity", f.severity);
    j.Latin1Field("code", f.code);
    j.Field("follows_stop", f.follows_stop);
    j.Field("group", g.group_of[i]);
    j.Close();
  }
  j.Close();
}

}  // namespace

std::string JsonReport(const Result& r, const ReportOptions& options) {
  const outline::Grouping grouping = outline::GroupFindings(r.findings, options.examples);
  std::string out;
  // About 150 bytes per example or listed finding: one allocation for most runs.
  const size_t examples = static_cast<size_t>(options.examples > 0 ? options.examples : 0);
  out.reserve(4096 + 400 * grouping.groups.size() +
              150 * std::min(r.findings.size(), examples * grouping.groups.size()) +
              (options.all_findings ? 260 * r.findings.size() : 0));
  JsonOut j(out);
  j.Open('{');
  j.TextField("format", "volp-report");
  j.Field("format_version", kFormatVersion);
  j.Key("generator");
  j.Open('{', true);
  j.TextField("name", "volp");
  j.TextField("version", VOLP_VERSION_TEXT);
  j.Close();
  WriteVerdict(j, r);
  WriteInput(j, r, options, grouping.groups.size());
  WriteTypes(j, r);
  WriteGroups(j, r, grouping);
  if (options.all_findings) WriteAllFindings(j, r, grouping);
  j.Close();
  return out;
}

}  // namespace volp
