// Keys and texts that must outlive the read buffer are copied into an arena:
// big chunks, never freed one by one, so a registry of a million clients makes
// a few dozen allocations instead of a million.
#pragma once

#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace volp {

class Arena {
 public:
  explicit Arena(size_t chunk = 1 << 20) : chunk_(chunk) {}
  std::string_view Copy(std::string_view s) {
    if (s.empty()) return {};
    if (static_cast<size_t>(end_ - cur_) < s.size()) Grow(s.size());
    char* p = cur_;
    std::memcpy(p, s.data(), s.size());
    cur_ += s.size();
    return {p, s.size()};
  }
  void Clear() {
    chunks_.clear();
    cur_ = end_ = nullptr;
  }

 private:
  void Grow(size_t need) {
    size_t n = need > chunk_ ? need : chunk_;
    chunks_.emplace_back(new char[n]);
    cur_ = chunks_.back().get();
    end_ = cur_ + n;
  }
  size_t chunk_;
  std::vector<std::unique_ptr<char[]>> chunks_;
  char* cur_ = nullptr;
  char* end_ = nullptr;
};

}  // namespace volp
