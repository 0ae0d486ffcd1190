#include "core/findings.hpp"

#include <cstdlib>

#include "core/format.hpp"
#include "core/log.hpp"

namespace volp {

void SalvarErroArquivo(FindingsCollector& fc, Log& log, int64_t offset, int64_t line,
                       int type_index, std::string_view type_code, int32_t field_index,
                       const FieldRef* field, int32_t severity, std::string_view message,
                       std::string_view code) {
  if (log.On(7)) {
    log.Write(7, "    SalvarErroArquivo(%lld, %lld, 0x%08x, %d, 0x%08x, %d, %.*s) %.*s\n",
              static_cast<long long>(offset), static_cast<long long>(line),
              static_cast<unsigned>(type_index), field_index,
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(field)), severity,
              static_cast<int>(message.size()), message.data(), static_cast<int>(type_code.size()),
              type_code.data());
  }

  const bool keep = severity != kAdvertencia || fc.warnings < kMaxKeptWarnings;
  if (keep) {
    Finding& f = fc.list.emplace_back();
    f.offset = offset;
    f.line = line;
    f.record_type.assign(type_code);
    f.field_number = field_index == 0 ? 0 : std::abs(field_index) + 1;
    f.severity = severity;
    f.message.assign(message);
    f.code.assign(code);
    if (field != nullptr) {
      f.column = field->column;
      f.content.assign(field->content);
      f.length = field->length;
      f.field_name = field->name ? field->name : "";
    } else {
      f.column = -1;
      f.length = 0;
    }
    if (field_index < 0) f.length = -1;
  }

  if (type_index >= 0 || !type_code.empty()) {
    // A finding against a record type. An unknown type has a code but no row
    // of the table, so only the totals move.
    TypeCounters* tc = type_index >= 0 ? &fc.per_type[type_index] : nullptr;
    switch (severity) {
      case kAdvertencia:
        if (tc) ++tc->warnings;
        ++fc.warnings;
        if (log.On(7))
          log.Write(7, "  Advertencias: %s Total: %s\n", Milhar(tc ? tc->warnings : 0).c_str(),
                    Milhar(fc.warnings).c_str());
        break;
      case kErro:
      case kErroRejeitaTipo:
        if (severity == kErro) {
          if (line != fc.last_rejected_line) {
            fc.last_rejected_line = line;
            if (tc) ++tc->rejected;
            ++fc.rejected_lines;
            if (log.On(7))
              log.Write(7, "  Rejeitados: %s Total: %s\n", Milhar(tc ? tc->rejected : 0).c_str(),
                        Milhar(fc.rejected_lines).c_str());
          }
        } else if (tc && tc->rejected == 0) {
          tc->rejected = 1;
          ++fc.rejected_lines;
        }
        if (tc) ++tc->errors;
        ++fc.errors;
        if (log.On(7))
          log.Write(7, "  Erros: %s Total: %s\n", Milhar(tc ? tc->errors : 0).c_str(),
                    Milhar(fc.errors).c_str());
        break;
      default:
        break;
    }
  } else if (severity == kErro) {
    if (line != fc.last_rejected_line) {
      fc.last_rejected_line = line;
      ++fc.rejected_lines;
      if (log.On(7)) log.Write(7, "  Rejeitados: Total: %s\n", Milhar(fc.rejected_lines).c_str());
    }
    ++fc.errors;
    if (log.On(7)) log.Write(7, "  Erros: Total: %s\n", Milhar(fc.errors).c_str());
  }
}

}  // namespace volp
