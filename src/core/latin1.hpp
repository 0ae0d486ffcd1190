// Every text this system writes (messages, field names, XML, log lines) is
// ISO 8859-1. Sources stay UTF-8; the `_l1` literal converts at compile time,
// so "Código"_l1 is the 6-byte text 43 F3 64 69 67 6F with a NUL after it.
#pragma once

#include <cstddef>

namespace volp {

namespace detail {

template <std::size_t N>
struct Utf8Text {
  char bytes[N]{};
  consteval Utf8Text(const char (&s)[N]) {
    for (std::size_t i = 0; i < N; ++i) bytes[i] = s[i];
  }
};

// Number of Latin-1 bytes (NUL included) that a UTF-8 text converts to.
template <std::size_t N>
consteval std::size_t Latin1Size(const Utf8Text<N>& s) {
  std::size_t n = 0;
  for (std::size_t i = 0; i < N; ++n) {
    unsigned char c = static_cast<unsigned char>(s.bytes[i]);
    i += (c < 0x80) ? 1 : 2;
  }
  return n;
}

template <std::size_t N>
struct Latin1Text {
  char bytes[N]{};
};

template <std::size_t M, std::size_t N>
consteval Latin1Text<M> ToLatin1(const Utf8Text<N>& s) {
  Latin1Text<M> out{};
  std::size_t o = 0;
  for (std::size_t i = 0; i < N;) {
    unsigned char c = static_cast<unsigned char>(s.bytes[i]);
    if (c < 0x80) {
      out.bytes[o++] = static_cast<char>(c);
      i += 1;
    } else {
      // Only two-byte sequences (U+0080..U+00FF) have a Latin-1 byte; anything
      // else is a mistake in the source and must not compile.
      if ((c & 0xE0) != 0xC0 || c > 0xC3) throw "literal is not representable in ISO 8859-1";
      unsigned char d = static_cast<unsigned char>(s.bytes[i + 1]);
      out.bytes[o++] = static_cast<char>(((c & 0x03) << 6) | (d & 0x3F));
      i += 2;
    }
  }
  return out;
}

template <Utf8Text S>
inline constexpr auto kLatin1 = ToLatin1<Latin1Size(S)>(S);

}  // namespace detail

// "Código"_l1 : a NUL-terminated Latin-1 text with static storage.
template <detail::Utf8Text S>
constexpr const char* operator""_l1() {
  return detail::kLatin1<S>.bytes;
}

}  // namespace volp
