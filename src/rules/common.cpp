#include "rules/common.hpp"

#include "core/context.hpp"

namespace volp {

int64_t LerInteiro(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
  uint64_t v = 0;
  constexpr uint64_t kLimit = static_cast<uint64_t>(INT64_MAX);
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    v = v * 10 + static_cast<uint64_t>(text[i] - '0');
    if (v > kLimit) {  // saturate as the C conversion does
      v = negative ? kLimit + 1 : kLimit;
      break;
    }
  }
  if (negative) return v > kLimit ? INT64_MIN : -static_cast<int64_t>(v);
  return static_cast<int64_t>(v);
}

void LogValidador(Run& run, const char* indent, const char* code, int64_t a, int64_t b,
                  const Record& rec, int prev_type, int src_line) {
  if (!run.log.On(5)) return;
  run.log.Write(
      5, "%sValidarRegistro_%s(%lld, %lld, 0x%08x, 0x%08x) Registro anterior: %d Linha fonte: %d\n",
      indent, code, static_cast<long long>(a), static_cast<long long>(b), Addr(&rec),
      Addr(&run.ctx), prev_type, src_line);
}

void LogValidador(Run& run, const char* code, const Record& rec, int prev_type, int src_line) {
  LogValidador(run, "  ", code, run.ctx.offset, run.ctx.line, rec, prev_type, src_line);
}

}  // namespace volp
