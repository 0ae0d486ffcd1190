#include "cli_summary.hpp"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

namespace volp::cli {

namespace {

const char* SeverityWord(int severity, int64_t count) {
  if (severity == 1) return count == 1 ? "warning" : "warnings";
  return count == 1 ? "error" : "errors";
}

std::string Printf(const char* fmt, double value) {
  char buf[64];
  std::snprintf(buf, sizeof buf, fmt, value);
  return buf;
}

// The same verdict as the report's <SituacaoArquivo>.
std::string Verdict(const Result& r) {
  std::string v =
      r.rejected_lines != 0 ? "Arquivo possui registros rejeitados" : "Arquivo validado";
  if (r.cancelled) v += " - Validação Cancelada";
  return v;
}

// "7%" of the file read; never "100%" for a run that stopped short of the
// end, never "0%" once something was read.
std::string Share(int64_t part, int64_t whole) {
  if (whole <= 0) return "0%";
  const int64_t pct = std::min<int64_t>(part * 100 / whole, 99);
  if (part > 0 && pct == 0) return "<1%";
  return std::to_string(pct) + "%";
}

std::string WhyStopped(const Result& r) {
  switch (r.stop_reason) {
    case StopReason::kErrorLimit:
      return "3,000 errors, the most a run reports";
    case StopReason::kUnknownTypeLimit:
      return Thousands(r.unknown_records) + " lines of unknown record type, the most a run accepts";
    case StopReason::kCancelled:
      return "cancelled (Ctrl-C, a request to terminate or the stop file)";
    case StopReason::kReadError:
      return "read error: the file could not be read further";
    case StopReason::kNone:
      break;
  }
  return "";
}

void AddGroups(std::string& out, const std::vector<FindingGroup>& groups, const SummaryOptions& o) {
  for (const FindingGroup& g : groups) {
    std::string head = "  " + Thousands(g.count) + " " + SeverityWord(g.severity, g.count);
    head.resize(std::max<size_t>(head.size(), 16), ' ');
    const Finding& first = *g.examples.front();
    const std::string_view format = g.code.empty() ? std::string_view() : MessageTemplate(g.code);
    const std::string text =
        format.empty() ? ForTerminal(first.message) : TemplateText(ForTerminal(format));
    std::string line = head + " " + (g.code.empty() ? std::string("(no code)") : g.code);
    line = Fit(line + "  " + text, o.width);
    // Colour after fitting: the escape bytes take no columns but must not
    // be cut.
    const size_t count_end = head.find_last_not_of(' ') + 1;
    const std::string painted = g.severity == 1 ? o.style.Yellow(line.substr(0, count_end))
                                                : o.style.Red(line.substr(0, count_end));
    out += painted + line.substr(count_end) + "\n";

    const size_t shown = std::min(g.examples.size(), static_cast<size_t>(std::max(o.examples, 0)));
    for (size_t i = 0; i < shown; ++i) {
      const Finding& f = *g.examples[i];
      // Appended piece by piece: GCC 12 warns about "literal" + string
      // temporaries (a false -Wrestrict).
      std::string ex = "      line ";
      ex += Thousands(f.line);
      if (!f.record_type.empty()) {
        ex += ' ';
        ex += ForTerminal(f.record_type);
      }
      if (f.field_number > 0) {
        char num[24];
        std::snprintf(num, sizeof num, " field %02d", static_cast<int>(f.field_number));
        ex += num;
        if (!f.field_name.empty()) ex += " (" + ForTerminal(f.field_name) + ")";
        if (!f.content.empty()) ex += " '" + ForTerminal(f.content) + "'";
      }
      ex += ": " + ForTerminal(f.message);
      out += Fit(ex, o.width) + "\n";
    }
    if (shown > 0 && g.count > static_cast<int64_t>(shown)) {
      out += o.style.Dim("      ... " + Thousands(g.count - static_cast<int64_t>(shown)) +
                         " more in the report") +
             "\n";
    }
  }
}

}  // namespace

std::string ForTerminal(std::string_view latin1) {
  std::string clean(latin1);
  for (char& c : clean) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 0x20 || b == 0x7F || (b >= 0x80 && b <= 0x9F)) c = '?';
  }
  return Latin1ToUtf8(clean);
}

std::string TemplateText(std::string_view f) {
  std::string out;
  for (size_t i = 0; i < f.size(); ++i) {
    if (f[i] != '%') {
      out += f[i];
      continue;
    }
    if (i + 1 < f.size() && f[i + 1] == '%') {
      out += '%';
      ++i;
      continue;
    }
    size_t j = i + 1;
    while (j < f.size() && std::string_view("-+ #0123456789.*").find(f[j]) != std::string::npos) {
      ++j;
    }
    while (j < f.size() && std::string_view("hlLqjztI").find(f[j]) != std::string::npos) {
      // "%I64d" carries digits after its length letter.
      ++j;
      while (j < f.size() && f[j] >= '0' && f[j] <= '9') ++j;
    }
    out += "\xE2\x80\xA6";  // the conversion letter itself is at j
    i = j < f.size() ? j : f.size() - 1;
  }
  return out;
}

std::vector<FindingGroup> GroupFindings(const Result& r, bool after_stop, int examples) {
  std::vector<FindingGroup> groups;
  std::unordered_map<std::string, size_t> index;
  const size_t keep = static_cast<size_t>(std::max(examples, 1));
  for (const Finding& f : r.findings) {
    if (f.follows_stop != after_stop) continue;
    // A finding without a code stands for its own message.
    const std::string key = f.code.empty() ? "\n" + f.message : f.code;
    auto [it, added] = index.try_emplace(key, groups.size());
    if (added) {
      groups.push_back({f.code, f.severity == 1 ? 1 : 2, 0, {}});
    }
    FindingGroup& g = groups[it->second];
    ++g.count;
    if (g.examples.size() < keep) g.examples.push_back(&f);
  }
  std::stable_sort(groups.begin(), groups.end(), [](const FindingGroup& a, const FindingGroup& b) {
    if (a.severity != b.severity) return a.severity > b.severity;
    return a.count > b.count;
  });
  return groups;
}

std::string Completeness(const Result& r) {
  if (r.read_whole_file()) {
    return "the whole file: " + Thousands(r.last_line) + " lines, " + Thousands(r.file_size) +
           " bytes";
  }
  return "NOT the whole file. Stopped at line " + Thousands(r.last_line) + " (" +
         Share(r.bytes_read, r.file_size) + " of the file): " + WhyStopped(r);
}

std::string Timing(const Result& r) {
  const double s = r.elapsed_seconds;
  std::string out = Printf(s < 10 ? "%.2f s" : "%.1f s", s);
  if (s > 0) {
    const double bytes = static_cast<double>(r.read_whole_file() ? r.file_size : r.bytes_read);
    out += Printf(", %.1f MB/s", bytes / 1e6 / s);
    out +=
        ", " + Thousands(static_cast<int64_t>(static_cast<double>(r.last_line) / s)) + " lines/s";
  }
  return out;
}

std::string Summary(const Result& r, const SummaryOptions& o) {
  const Style& st = o.style;
  std::string out;
  out += "Report:   " + r.report_path + "\n";
  if (!r.sha256.empty()) {
    out += "SHA-256:  " + r.sha256;
    if (o.decompressed) out += " (of the decompressed bytes)";
    out += "\n";
  }
  // Wrapped, since the reason comes last; painted after (see AddGroups).
  const std::string read = Wrap("Read:     " + Completeness(r), o.width, 10);
  out += "Read:     " + (r.read_whole_file() ? read.substr(10) : st.Yellow(read.substr(10)));
  out += "Time:     " + Timing(r) + "\n";

  // Findings that follow from an early stop are the stop's, not the file's:
  // the headline counts leave them out and they are listed apart.
  int64_t after[2] = {0, 0};  // errors, warnings
  for (const Finding& f : r.findings) {
    if (f.follows_stop) ++after[f.severity == 1 ? 1 : 0];
  }
  out += Wrap("Errors:   " + Thousands(r.errors - after[0]) +
                  "   warnings: " + Thousands(r.warnings - after[1]) +
                  "   rejected lines: " + Thousands(r.rejected_lines) +
                  "   unknown record types: " + Thousands(r.unknown_records),
              o.width, 10);
  if (after[0] + after[1] != 0) {
    out += Wrap("          and " + Thousands(after[0]) + " errors, " + Thousands(after[1]) +
                    " warnings that follow from the stop (listed apart)",
                o.width, 10);
  }

  const std::string verdict = Verdict(r);
  if (!r.read_whole_file()) {
    out += "Verdict:  " + st.Yellow(verdict) + "\n";
    out += Wrap(
        "          on lines 1 to " + Thousands(r.last_line) + " only: no verdict on the whole file",
        o.width, 10);
  } else {
    out += "Verdict:  " + (r.errors == 0 ? st.Green(verdict) : st.Red(verdict)) + "\n";
  }
  if (r.errors != 0 && r.rejected_lines == 0) {
    out += Wrap(
        "          (the errors stand on no record line, so the report's verdict does not count "
        "them)",
        o.width, 10);
  }

  // Per-type counts, only for the types that have findings, plus the
  // findings that belong to no record type (file-level ones).
  bool header = false;
  auto table_header = [&] {
    if (!header) {
      out += '\n';
      out += st.Bold("Findings per record type:");
      out += "\n  type   errors warnings rejected    total\n";
      header = true;
    }
  };
  char buf[128];
  for (const TypeSummary& t : r.types) {
    if (t.errors == 0 && t.warnings == 0) continue;
    table_header();
    std::snprintf(buf, sizeof buf, "  %-4s %8lld %8lld %8lld %8lld\n", t.code.c_str(),
                  static_cast<long long>(t.errors), static_cast<long long>(t.warnings),
                  static_cast<long long>(t.rejected), static_cast<long long>(t.total));
    out += buf;
  }
  long long file_level[2] = {0, 0};
  for (const Finding& f : r.findings) {
    if (f.record_type.empty()) ++file_level[f.severity == 1 ? 1 : 0];
  }
  if (file_level[0] + file_level[1] != 0) {
    table_header();
    std::snprintf(buf, sizeof buf, "  file %8lld %8lld\n", file_level[0], file_level[1]);
    out += buf;
  }

  const std::string each =
      o.examples > 0 ? "; the first " + std::to_string(o.examples) + " of each" : "";
  const std::vector<FindingGroup> found = GroupFindings(r, false, o.examples);
  if (!found.empty()) {
    out += '\n';
    out +=
        st.Bold(Wrap("Findings by message code (" + std::to_string(found.size()) +
                         (found.size() == 1 ? " code" : " codes") + each + "; all in the report):",
                     o.width, 2));
    AddGroups(out, found, o);
  }
  const std::vector<FindingGroup> after_stop = GroupFindings(r, true, o.examples);
  if (!after_stop.empty()) {
    out +=
        "\n" + st.Bold(Wrap("After the stop: found by the end-of-file checks on a file read only "
                            "in part; they may only say that the part not read was not checked",
                            o.width, 2));
    AddGroups(out, after_stop, o);
  }

  // Every line fits the width, but those that name a path or a digest: cut,
  // they would be of no use.
  std::string fitted;
  for (size_t at = 0; at < out.size();) {
    size_t end = out.find('\n', at);
    if (end == std::string::npos) end = out.size();
    const std::string_view line(out.data() + at, end - at);
    const bool whole = line.starts_with("Report:") || line.starts_with("SHA-256:");
    fitted += whole ? std::string(line) : Fit(line, o.width);
    fitted += '\n';
    at = end + 1;
  }
  return fitted;
}

}  // namespace volp::cli
