// Every message a finding can carry, in one table (core/messages.inc): a
// stable code that names it across releases, its text as a printf format,
// its severity and the record types whose checks write it. Checks name a
// message by its id and pass the values its placeholders take; the compiler
// holds the values against the placeholders at every call, as printf's
// format checking would.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "core/format.hpp"

namespace volp {

enum Severity : int32_t {
  kAdvertencia = 1,      // warning, printed "Advertência"
  kErro = 2,             // error, printed "Rejeição"
  kErroRejeitaTipo = 3,  // counted as an error, rejects the type once; printed "Rejeição"
};

enum class MsgId : uint16_t {
#define VOLP_MSG(id, code, severity, types, text) id,
#include "core/messages.inc"
#undef VOLP_MSG
};

inline constexpr size_t kMessageCount = 0
#define VOLP_MSG(id, code, severity, types, text) +1
#include "core/messages.inc"
#undef VOLP_MSG
    ;

struct MessageDef {
  const char* code;    // "VOLP-1110-MCAPT-SEM-0200"
  const char* format;  // Latin-1 printf format
  int32_t severity;    // Severity
  const char* types;   // record types that use it, blank-separated ("*" any)
};

// The table in id order, formats in Latin-1.
extern const MessageDef kMessages[kMessageCount];
inline const MessageDef& Message(MsgId id) { return kMessages[static_cast<size_t>(id)]; }

namespace msg {

// The formats as written in the source (UTF-8), for the checks at compile
// time: the placeholders are plain ASCII either way.
inline constexpr const char* kSourceFormats[kMessageCount] = {
#define VOLP_MSG(id, code, severity, types, text) text,
#include "core/messages.inc"
#undef VOLP_MSG
};

// What a printf placeholder consumes.
enum class Slot : uint8_t { kInt, kLongLong, kText, kEnd, kBad };

// The value kinds a check may pass, one or two slots each: integers of up to
// int's size for %d/%02d/%c, 64-bit integers for %lld, texts for %s, and a
// std::string_view for the pair of "%.*s".
template <class T>
constexpr int SlotsOf(Slot* out) {
  using U = std::decay_t<T>;
  if constexpr (std::is_same_v<U, std::string_view>) {
    out[0] = Slot::kInt;
    out[1] = Slot::kText;
    return 2;
  } else if constexpr (std::is_same_v<U, const char*> || std::is_same_v<U, char*> ||
                       std::is_same_v<U, NumText>) {
    out[0] = Slot::kText;
    return 1;
  } else if constexpr ((std::is_integral_v<U> || std::is_enum_v<U>)&&sizeof(U) <= sizeof(int)) {
    out[0] = Slot::kInt;
    return 1;
  } else if constexpr (std::is_integral_v<U> && sizeof(U) == sizeof(long long)) {
    out[0] = Slot::kLongLong;
    return 1;
  } else {
    out[0] = Slot::kBad;
    return 1;
  }
}

// The slots of a format, in order: flags, width and precision ("*" takes an
// int), the length "ll", then one of d i c s; "%%" takes none.
constexpr int FormatSlots(const char* f, Slot* out, int max) {
  int n = 0;
  for (; *f; ++f) {
    if (*f != '%') continue;
    ++f;
    if (*f == '%') continue;
    while (*f == '-' || *f == '+' || *f == ' ' || *f == '#' || *f == '0') ++f;
    if (*f == '*') {
      if (n < max) out[n] = Slot::kInt;
      ++n, ++f;
    }
    while (*f >= '0' && *f <= '9') ++f;
    if (*f == '.') {
      ++f;
      if (*f == '*') {
        if (n < max) out[n] = Slot::kInt;
        ++n, ++f;
      }
      while (*f >= '0' && *f <= '9') ++f;
    }
    bool wide = false;
    if (f[0] == 'l' && f[1] == 'l') wide = true, f += 2;
    Slot s = Slot::kBad;
    if (*f == 'd' || *f == 'i') s = wide ? Slot::kLongLong : Slot::kInt;
    if (*f == 'c' && !wide) s = Slot::kInt;
    if (*f == 's' && !wide) s = Slot::kText;
    if (n < max) out[n] = s;
    ++n;
    if (*f == '\0') break;
  }
  return n;
}

inline constexpr int kMaxSlots = 16;

template <class... A>
constexpr bool Matches(MsgId id) {
  Slot want[kMaxSlots]{};
  const int n = FormatSlots(kSourceFormats[static_cast<size_t>(id)], want, kMaxSlots);
  Slot have[2 * sizeof...(A) + 1]{};
  int m = 0;
  ((m += SlotsOf<A>(have + m)), ...);
  if (n != m || n > kMaxSlots) return false;
  for (int i = 0; i < n; ++i) {
    if (want[i] != have[i] || want[i] == Slot::kBad) return false;
  }
  return true;
}

// A message id whose placeholders take exactly the values A...: built at
// compile time from the id, so that a call with the wrong values, too many or
// too few, does not compile.
template <class... A>
struct Checked {
  MsgId id;
  consteval Checked(MsgId i) : id(i) {  // NOLINT: implicit on purpose
    if (!Matches<A...>(i)) throw "the values do not match the message's placeholders";
  }
};

// The values as printf takes them.
inline int Arg(int v) { return v; }
inline long long Arg(long long v) { return v; }
inline const char* Arg(const char* v) { return v; }
inline const char* Arg(const NumText& v) { return v.c_str(); }
template <class T>
requires(std::is_integral_v<T> || std::is_enum_v<T>) inline auto Arg(T v) {
  if constexpr (sizeof(T) <= sizeof(int)) {
    return static_cast<int>(v);
  } else {
    return static_cast<long long>(v);
  }
}

// Writes the message into `buf` (at most 299 bytes and a NUL; a longer text
// is cut there) and returns it.
const char* FormatRaw(char* buf, size_t size, const char* fmt, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 3, 4)))
#endif
    ;

template <class T>
auto Expand(const T& v) {
  if constexpr (std::is_same_v<std::remove_cvref_t<T>, std::string_view>) {
    return std::tuple<int, const char*>(static_cast<int>(v.size()), v.data());
  } else {
    return std::tuple(Arg(v));
  }
}

}  // namespace msg

// The buffer a message is formatted into: 300 bytes, the most a finding's
// message may hold (NUL included).
struct MsgText {
  char buf[300];
};

template <class... A>
using MsgOf = msg::Checked<std::type_identity_t<A>...>;

template <class... A>
const char* FormatMessage(MsgText& out, MsgOf<A...> id, const A&... args);

}  // namespace volp

#include <tuple>

namespace volp {

namespace msg {

template <class... A>
const char* Format(MsgText& out, MsgId id, const A&... args) {
  const char* fmt = Message(id).format;
  return std::apply(
      [&](auto... v) {
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
#endif
        return FormatRaw(out.buf, sizeof out.buf, fmt, v...);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
      },
      std::tuple_cat(std::tuple<>(), Expand(args)...));
}

}  // namespace msg

template <class... A>
const char* FormatMessage(MsgText& out, MsgOf<A...> id, const A&... args) {
  return msg::Format(out, id.id, args...);
}

// The same for a message chosen at run time from a table of ids (the
// structure machine's transitions): the table's rows must be held against
// their values at compile time with msg::Matches in a static_assert.
template <class... A>
const char* FormatChosen(MsgText& out, MsgId id, const A&... args) {
  return msg::Format(out, id, args...);
}

}  // namespace volp
