// A buffered writer of declaration lines: digits and fields are formatted
// straight into a large buffer (no std::string per line, no printf), which is
// handed to the sink when it fills. It also counts the bytes written, which
// give the byte positions that messages about earlier records quote.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace volpgen {

// Where the bytes go: a file, a string, or nowhere (a dry run).
class Sink {
 public:
  virtual ~Sink() = default;
  virtual void Write(const char* data, size_t size) = 0;
};

class Out {
 public:
  static constexpr size_t kBufferSize = 1 << 20;

  explicit Out(Sink* sink) : sink_(sink), buf_(kBufferSize) {}
  ~Out() { Flush(); }
  Out(const Out&) = delete;
  Out& operator=(const Out&) = delete;

  int64_t bytes() const { return flushed_ + static_cast<int64_t>(pos_); }

  void Flush() {
    if (pos_ > 0 && sink_ != nullptr) sink_->Write(buf_.data(), pos_);
    flushed_ += static_cast<int64_t>(pos_);
    pos_ = 0;
  }
  // Room for `n` more bytes (a line never comes near the buffer size).
  void Reserve(size_t n) {
    if (pos_ + n > buf_.size()) Flush();
  }

  void Ch(char c) { buf_[pos_++] = c; }
  void Str(std::string_view s) {
    if (pos_ + s.size() > buf_.size()) Flush();
    std::memcpy(buf_.data() + pos_, s.data(), s.size());
    pos_ += s.size();
  }
  void Chars(const char* p, size_t n) { Str(std::string_view(p, n)); }

  // Decimal digits, no padding.
  void U(uint64_t v) {
    char tmp[20];
    int n = 0;
    do {
      tmp[n++] = static_cast<char>('0' + v % 10);
      v /= 10;
    } while (v != 0);
    while (n > 0) buf_[pos_++] = tmp[--n];
  }
  // Exactly `width` digits, zero-padded on the left.
  void Pad(uint64_t v, int width) {
    for (int i = width - 1; i >= 0; --i) {
      buf_[pos_ + static_cast<size_t>(i)] = static_cast<char>('0' + v % 10);
      v /= 10;
    }
    pos_ += static_cast<size_t>(width);
  }
  // Money in hundredths with a decimal comma: 12345 -> "123,45".
  void Money(int64_t cents) {
    U(static_cast<uint64_t>(cents / 100));
    Ch(',');
    Pad(static_cast<uint64_t>(cents % 100), 2);
  }

 private:
  Sink* sink_;
  std::vector<char> buf_;
  size_t pos_ = 0;
  int64_t flushed_ = 0;
};

}  // namespace volpgen
