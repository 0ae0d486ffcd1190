// Keys and texts that must outlive the read buffer are copied into an arena:
// big chunks, never freed one by one, so a registry of a million clients makes
// a few dozen allocations instead of a million.
#pragma once

#include <cstring>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "absl/container/flat_hash_map.h"
#include "absl/container/flat_hash_set.h"
#include "absl/hash/hash.h"
#include "absl/strings/string_view.h"

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

// Hash of a key text. abseil hashes its own string_view with a fast mixing
// hash; a std::string_view would fall back to the standard library's slower
// byte hash, and these maps take a lookup per record.
struct KeyHash {
  size_t operator()(std::string_view s) const {
    return absl::Hash<absl::string_view>{}(absl::string_view(s.data(), s.size()));
  }
};

// Maps and sets keyed by texts (interned in an Arena, or views of the record
// for a lookup).
template <typename V>
using KeyMap = absl::flat_hash_map<std::string_view, V, KeyHash, std::equal_to<std::string_view>>;
using KeySet = absl::flat_hash_set<std::string_view, KeyHash, std::equal_to<std::string_view>>;

}  // namespace volp
