#include <cstdarg>
#include <cstdio>

#include "core/context.hpp"

namespace volp {

void Run::ReportText(const Record& r, int field_index, int32_t severity, std::string_view message,
                     std::string_view code) {
  FieldRef ref = FieldRef::Of(r, field_index < 0 ? -field_index : field_index);
  SalvarErroArquivo(ps.findings, log, ctx.offset, ctx.line, r.type_index, r.type->code, field_index,
                    &ref, severity, message, code);
}

void Run::ReportTextAt(int64_t offset, int64_t line, int type_index, int32_t field_index,
                       const FieldRef* field, int32_t severity, std::string_view message,
                       std::string_view code) {
  std::string_view type = type_index >= 0 ? kRecordTypes[type_index].code : "";
  SalvarErroArquivo(ps.findings, log, offset, line, type_index, type, field_index, field, severity,
                    message, code);
}

}  // namespace volp
