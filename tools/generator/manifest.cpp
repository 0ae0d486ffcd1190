// Fault names, the --faults parser, the number formats of the validator's
// messages and the JSON manifest.
#include <cstdio>
#include <string>

#include "generator/generator.hpp"

namespace volpgen {
namespace {

const char* const kNames[kFaultKindCount] = {
    "cnpj-digit",   "cpf-digit", "bad-date",  "cep-uf",   "non-latin1", "dup-0100", "sum-1110",
    "qty-1110",     "sum-1115",  "zero-1115", "dup-1115", "nat-oper",   "bandeira", "order",
    "missing-9900", "qtd-0990",  "qtd-9999",  "lf-only",  "cpf-low"};

void JsonString(std::string* out, std::string_view s) {
  out->push_back('"');
  for (const char ch : s) {
    const unsigned char c = static_cast<unsigned char>(ch);
    if (c == '"' || c == '\\') {
      out->push_back('\\');
      out->push_back(ch);
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out->append(buf);
    } else {
      out->push_back(ch);
    }
  }
  out->push_back('"');
}

}  // namespace

const char* FaultName(int kind) { return kind >= 0 && kind < kFaultKindCount ? kNames[kind] : "?"; }

int FaultKindOf(std::string_view name) {
  for (int k = 0; k < kFaultKindCount; ++k)
    if (name == kNames[k]) return k;
  return -1;
}

bool ParseFaults(std::string_view list, std::vector<FaultRequest>* out, std::string* error) {
  while (!list.empty()) {
    const size_t comma = list.find(',');
    std::string_view item = list.substr(0, comma);
    list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
    if (item.empty()) continue;
    FaultRequest f;
    const size_t at = item.find('@');
    const std::string_view name = item.substr(0, at);
    f.kind = FaultKindOf(name);
    if (f.kind < 0) {
      *error = "unknown fault kind '" + std::string(name) + "'";
      return false;
    }
    if (at != std::string_view::npos) {
      const std::string_view where = item.substr(at + 1);
      if (where.substr(0, 5) == "line:" && where.size() > 5) {
        int64_t line = 0;
        for (const char c : where.substr(5)) {
          if (c < '0' || c > '9' || line > 1000000000000) {
            *error = "bad line number in '" + std::string(item) + "'";
            return false;
          }
          line = line * 10 + (c - '0');
        }
        if (line == 0) {
          *error = "line numbers start at 1 in '" + std::string(item) + "'";
          return false;
        }
        f.line = line;
      } else if (where != "random") {
        *error = "expected @random or @line:N in '" + std::string(item) + "'";
        return false;
      }
    }
    out->push_back(f);
  }
  return true;
}

std::string Milhar(int64_t n) {
  std::string digits = std::to_string(n < 0 ? -n : n);
  std::string out = n < 0 ? "-" : "";
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out.push_back('.');
    out.push_back(digits[i]);
  }
  return out;
}

std::string Moeda(int64_t cents) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%lld,%02d", static_cast<long long>(cents / 100),
                static_cast<int>(cents % 100));
  return buf;
}

std::string ManifestJson(const Options& o, const Summary& s, std::string_view file_name) {
  std::string j = "{\n  \"encoding\": \"UTF-8 (the validation report is ISO 8859-1)\",\n";
  j += "  \"file\": ";
  JsonString(&j, file_name);
  j += ",\n  \"seed\": " + std::to_string(o.seed);
  j += ",\n  \"finalidade\": " + std::to_string(o.finalidade);
  j += ",\n  \"period\": \"" + std::to_string(o.period) + "\"";
  j += ",\n  \"lines\": " + std::to_string(s.lines);
  j += ",\n  \"bytes\": " + std::to_string(s.bytes);
  j += ",\n  \"transactions\": " + std::to_string(s.transactions);
  j += ",\n  \"faults\": [";
  for (size_t i = 0; i < s.faults.size(); ++i) {
    const AppliedFault& f = s.faults[i];
    j += i == 0 ? "\n" : ",\n";
    j += "    {\"kind\": \"";
    j += FaultName(f.kind);
    j += "\", \"requested\": ";
    j += f.requested_line == 0 ? "\"random\"" : "\"line:" + std::to_string(f.requested_line) + "\"";
    j += ", \"line\": " + std::to_string(f.line) + ", \"findings\": [";
    for (size_t k = 0; k < f.findings.size(); ++k) {
      const ExpectedFinding& e = f.findings[k];
      j += k == 0 ? "\n" : ",\n";
      j += "      {\"line\": " + std::to_string(e.line) +
           ", \"offset\": " + std::to_string(e.offset) + ", \"record_type\": ";
      JsonString(&j, e.record_type);
      j += ", \"field\": " + std::to_string(e.field) +
           ", \"severity\": " + std::to_string(e.severity) + ", \"message\": ";
      JsonString(&j, e.message);
      j += "}";
    }
    j += "\n    ]}";
  }
  j += s.faults.empty() ? "]" : "\n  ]";
  j += ",\n  \"unplaced\": [";
  for (size_t i = 0; i < s.unplaced.size(); ++i) {
    if (i > 0) j += ", ";
    j += "\"";
    j += FaultName(s.unplaced[i].kind);
    j += "\"";
  }
  j += "]\n}\n";
  return j;
}

}  // namespace volpgen
