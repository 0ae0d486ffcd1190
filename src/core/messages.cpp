#include "core/messages.hpp"

#include <cstdarg>
#include <cstdio>

#include "core/latin1.hpp"

namespace volp {

const MessageDef kMessages[kMessageCount] = {
#define VOLP_MSG(id, code, severity, types, text) \
  {code, detail::kLatin1<detail::Utf8Text{text}>.bytes, severity, types},
#include "core/messages.inc"
#undef VOLP_MSG
};

namespace msg {

const char* FormatRaw(char* buf, size_t size, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, size, fmt, ap);
  va_end(ap);
  return buf;
}

}  // namespace msg
}  // namespace volp
