#include <cstdarg>
#include <cstdio>

#include "core/context.hpp"
#include "core/latin1.hpp"

namespace volp {

bool Run::SameFields(int64_t offset, const Record& rec, std::initializer_list<int> fields) {
  std::string_view line;
  if (earlier == nullptr || !earlier->LineAt(offset, &line)) {
    if (!earlier_failed)
      log.Write(3, "Erro ao tentar reler a linha na posição %lld do arquivo\n"_l1,
                static_cast<long long>(offset));
    earlier_failed = true;
    return false;
  }
  for (int i : fields)
    if (FieldOfLine(line, i) != rec.text(i)) return false;
  return true;
}

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
