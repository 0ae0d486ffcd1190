// The JSON and HTML reports on any result: whatever bytes the findings
// carry, the JSON is well-formed UTF-8 with the run's verdict, and the HTML
// page has the same markup as the page of the same result with every text
// from the file replaced by plain letters and digits (no byte of a declarant's text can
// open or close an element).
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "volp/reports.hpp"

namespace {

using volp::fuzz::Check;

// A strict JSON reader that only says whether the text is one well-formed
// value (RFC 8259) in valid UTF-8, and finds the value of the first
// "valid" member of the document or of one of its objects (the verdict's).
class JsonChecker {
 public:
  explicit JsonChecker(const std::string& s) : s_(s) {}
  bool Document() {
    Space();
    if (!Value(0)) return false;
    Space();
    return i_ == s_.size();
  }
  int valid = -1;  // the verdict's "valid": 1 true, 0 false, -1 absent

 private:
  bool Value(int depth) {
    if (depth > 64 || i_ >= s_.size()) return false;
    switch (s_[i_]) {
      case '{':
        return Object(depth);
      case '[':
        return Array(depth);
      case '"':
        return String(nullptr);
      case 't':
        return Word("true");
      case 'f':
        return Word("false");
      case 'n':
        return Word("null");
      default:
        return Number();
    }
  }
  bool Object(int depth) {
    ++i_;
    Space();
    if (Peek('}')) return ++i_, true;
    for (;;) {
      std::string key;
      Space();
      if (!Peek('"') || !String(&key)) return false;
      Space();
      if (!Peek(':')) return false;
      ++i_;
      Space();
      if (depth <= 1 && valid < 0 && key == "valid" && i_ < s_.size() &&
          (s_[i_] == 't' || s_[i_] == 'f'))
        valid = s_[i_] == 't' ? 1 : 0;
      if (!Value(depth + 1)) return false;
      Space();
      if (Peek('}')) return ++i_, true;
      if (!Peek(',')) return false;
      ++i_;
    }
  }
  bool Array(int depth) {
    ++i_;
    Space();
    if (Peek(']')) return ++i_, true;
    for (;;) {
      Space();
      if (!Value(depth + 1)) return false;
      Space();
      if (Peek(']')) return ++i_, true;
      if (!Peek(',')) return false;
      ++i_;
    }
  }
  bool String(std::string* out) {
    ++i_;
    while (i_ < s_.size()) {
      const auto c = static_cast<unsigned char>(s_[i_]);
      if (c == '"') return ++i_, true;
      if (c < 0x20) return false;
      if (c == '\\') {
        if (++i_ >= s_.size()) return false;
        const char e = s_[i_];
        if (e == 'u') {
          for (int k = 1; k <= 4; ++k)
            if (i_ + k >= s_.size() || !std::isxdigit(static_cast<unsigned char>(s_[i_ + k])))
              return false;
          i_ += 5;
        } else if (std::string_view("\"\\/bfnrt").find(e) != std::string_view::npos) {
          ++i_;
        } else {
          return false;
        }
        continue;
      }
      // UTF-8 as RFC 3629 has it: no overlong form, no surrogate, nothing
      // past U+10FFFF; four-byte sequences (a path may hold them) included.
      // Written here again on purpose, not taken from the report writer's
      // own check: an oracle that shares the code it judges shares its bugs.
      size_t n = 0;
      unsigned lo = 0x80, hi = 0xBF;  // range of the second byte
      if (c < 0x80) {
        n = 1;
      } else if (c >= 0xC2 && c <= 0xDF) {
        n = 2;
      } else if (c >= 0xE0 && c <= 0xEF) {
        n = 3;
        if (c == 0xE0) lo = 0xA0;
        if (c == 0xED) hi = 0x9F;
      } else if (c >= 0xF0 && c <= 0xF4) {
        n = 4;
        if (c == 0xF0) lo = 0x90;
        if (c == 0xF4) hi = 0x8F;
      }
      if (n == 0 || i_ + n > s_.size()) return false;
      for (size_t k = 1; k < n; ++k) {
        const auto b = static_cast<unsigned char>(s_[i_ + k]);
        if (k == 1 ? (b < lo || b > hi) : (b & 0xC0) != 0x80) return false;
      }
      if (out) out->append(s_, i_, n);
      i_ += n;
    }
    return false;
  }
  bool Number() {
    const size_t start = i_;
    if (Peek('-')) ++i_;
    if (i_ >= s_.size() || !std::isdigit(static_cast<unsigned char>(s_[i_]))) return false;
    if (s_[i_] == '0') {
      ++i_;
    } else {
      while (i_ < s_.size() && std::isdigit(static_cast<unsigned char>(s_[i_]))) ++i_;
    }
    if (Peek('.')) {
      ++i_;
      if (i_ >= s_.size() || !std::isdigit(static_cast<unsigned char>(s_[i_]))) return false;
      while (i_ < s_.size() && std::isdigit(static_cast<unsigned char>(s_[i_]))) ++i_;
    }
    if (Peek('e') || Peek('E')) {
      ++i_;
      if (Peek('+') || Peek('-')) ++i_;
      if (i_ >= s_.size() || !std::isdigit(static_cast<unsigned char>(s_[i_]))) return false;
      while (i_ < s_.size() && std::isdigit(static_cast<unsigned char>(s_[i_]))) ++i_;
    }
    return i_ > start;
  }
  bool Word(std::string_view w) {
    if (s_.compare(i_, w.size(), w) != 0) return false;
    i_ += w.size();
    return true;
  }
  bool Peek(char c) const { return i_ < s_.size() && s_[i_] == c; }
  void Space() {
    while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\n' || s_[i_] == '\r' || s_[i_] == '\t'))
      ++i_;
  }

  const std::string& s_;
  size_t i_ = 0;
};

// The page's markup: every tag name in order, without attributes or text.
std::vector<std::string> Tags(const std::string& html) {
  std::vector<std::string> tags;
  for (size_t i = html.find('<'); i != std::string::npos; i = html.find('<', i + 1)) {
    size_t j = i + 1;
    while (j < html.size() && html[j] != '>' && html[j] != ' ' && html[j] != '\n') ++j;
    tags.emplace_back(html, i, j - i);
  }
  return tags;
}

// The same text with every printable ASCII byte (the only ones that could
// spell markup) replaced by its two hex digits: what a harmless declarant
// could have written in its place. Distinct texts stay distinct, so findings
// group as before; other bytes stay, so a name that was UTF-8 still is and
// control bytes, which the page marks on purpose, are marked in both.
std::string Plain(const std::string& s) {
  static const char kHex[] = "0123456789abcdef";
  std::string out;
  for (unsigned char c : s) {
    if (c < 0x20 || c >= 0x7F) {
      out.push_back(static_cast<char>(c));
      continue;
    }
    out.push_back(kHex[c >> 4]);
    out.push_back(kHex[c & 15]);
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  volp::Result r;
  r.completed = true;
  r.path = in.ConsumeRandomLengthString(100);
  r.file_size = in.ConsumeIntegralInRange<int64_t>(0, int64_t{1} << 40);
  r.bytes_read = in.ConsumeIntegralInRange<int64_t>(0, r.file_size);
  r.last_line = in.ConsumeIntegralInRange<int64_t>(0, 1 << 30);
  r.records_read = r.last_line;
  r.stop_reason = static_cast<volp::StopReason>(in.ConsumeIntegralInRange(0, 4));
  r.cancelled = r.stop_reason == volp::StopReason::kCancelled;
  r.sha256 = in.ConsumeBool() ? std::string(64, 'A') : "";
  r.validation_date = "20260115";
  r.elapsed_seconds = in.ConsumeFloatingPointInRange(0.0, 1e6);
  for (int t = 0; t < 3; ++t) {
    volp::TypeSummary s;
    s.code = in.ConsumeRandomLengthString(6);
    s.total = in.ConsumeIntegralInRange<int64_t>(0, 1 << 20);
    r.types.push_back(s);
  }
  while (in.remaining_bytes() > 0 && r.findings.size() < 40) {
    volp::Finding f;
    f.line = in.ConsumeIntegralInRange<int64_t>(0, 1 << 20);
    f.offset = in.ConsumeIntegralInRange<int64_t>(0, 1 << 30);
    f.record_type = in.ConsumeRandomLengthString(6);
    f.field_number = in.ConsumeIntegralInRange(0, 40);
    f.column = in.ConsumeIntegralInRange(-1, 9999);
    f.content = in.ConsumeRandomLengthString(120);
    f.length = static_cast<int32_t>(f.content.size());
    f.field_name = in.ConsumeRandomLengthString(20);
    f.message = in.ConsumeRandomLengthString(120);
    f.severity = in.ConsumeIntegralInRange(1, 3);
    f.code = in.ConsumeRandomLengthString(30);
    f.follows_stop = in.ConsumeBool();
    (f.severity == 1 ? r.warnings : r.errors)++;
    r.findings.push_back(std::move(f));
  }
  for (const bool all : {false, true}) {
    volp::ReportOptions options;
    options.all_findings = all;
    options.examples = 3;
    const std::string json = volp::JsonReport(r, options);
    JsonChecker checker(json);
    Check(checker.Document(), "the JSON report is not one well-formed UTF-8 value");
    // Valid means the whole file read and no error in it.
    const bool valid = r.read_whole_file() && r.errors == 0;
    Check(checker.valid == (valid ? 1 : 0), "the JSON report's \"valid\" is not the run's");
  }

  // The same result with every declarant's text made plain letters gives a
  // page with the same markup.
  volp::Result plain = r;
  plain.path = Plain(r.path);
  for (volp::Finding& f : plain.findings) {
    f.record_type = Plain(f.record_type);
    f.content = Plain(f.content);
    f.field_name = Plain(f.field_name);
    f.message = Plain(f.message);
    // A code of the message table brings its template along: keep it.
    if (volp::MessageTemplate(f.code).empty()) f.code = Plain(f.code);
  }
  for (volp::TypeSummary& t : plain.types) t.code = Plain(t.code);
  const std::vector<std::string> got = Tags(volp::HtmlReport(r));
  const std::vector<std::string> want = Tags(volp::HtmlReport(plain));
  if (got != want) {
    size_t i = 0;
    while (i < got.size() && i < want.size() && got[i] == want[i]) ++i;
    volp::fuzz::Broken("a text of the file changed the HTML page's markup at tag " +
                       std::to_string(i) + ": " + (i < got.size() ? got[i] : "(end)") +
                       " where the plain page has " + (i < want.size() ? want[i] : "(end)"));
  }
  return 0;
}
