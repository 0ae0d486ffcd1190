#include "reading/line_source.hpp"

#include <algorithm>
#include <cstring>

namespace volp {

namespace {

// A piece is a whole number of 64-byte words, so each piece's maps start at
// a word of the block's maps.
size_t PieceSize(size_t piece, size_t block) {
  piece = std::max<size_t>(piece & ~size_t{63}, 64);
  return std::min(piece, block);
}

}  // namespace

LineSource::LineSource(platform::InputFile& file, Sha256* hash, uint64_t* read_ticks, size_t block,
                       size_t piece, bool second_thread, int split_workers, PreCheck precheck)
    : file_(file),
      block_(block != 0 ? block : kDefaultBlock),
      piece_(PieceSize(piece != 0 ? piece : kPiece, block_)),
      hash_(hash),
      read_ticks_(read_ticks),
      precheck_(precheck) {
  for (Slot& s : slots_) {
    s.buf.reset(new char[kCarry + block_]);
    s.lf.reset(new uint64_t[BitWords(block_)]);
    s.bar.reset(new uint64_t[BitWords(block_)]);
    s.bad.reset(new uint64_t[BitWords(block_)]);
    if (hash_ != nullptr) s.before = std::make_unique<Sha256>();
  }
  if (!second_thread) return;
  try {
    for (int i = 0; i < split_workers; ++i) workers_.emplace_back([this] { SplitWork(); });
  } catch (...) {
    // Fewer workers than asked: those there are share the blocks.
  }
  split_in_fill_ = workers_.empty();
  try {
    thread_ = std::thread([this] { Work(); });
  } catch (...) {
    // No second thread: blocks are read, hashed and split on this one.
    StopWorkers();
    split_in_fill_ = true;
  }
}

void LineSource::StopWorkers() {
  if (workers_.empty()) return;
  {
    std::lock_guard<std::mutex> lock(mu_);
    stopping_ = true;
    cv_.notify_all();
  }
  for (std::thread& w : workers_) w.join();
  workers_.clear();
}

LineSource::~LineSource() { FinishHash(0, false); }

bool LineSource::Next(std::string_view* line) {
  for (;;) {
    const size_t avail = static_cast<size_t>(end_ - pos_);
    const size_t limit = std::min<size_t>(avail, kCarry - 1);
    // Bits are indexed from the block's fresh bytes; a carried start holds
    // no line end (that is why it was carried).
    const ptrdiff_t at = pos_ - fresh_;
    has_bits_ = lf_bits_ != nullptr && at >= 0;
    bits_.first = static_cast<size_t>(at);
    // The next line split ahead of time starts here: its end is known.
    if (at >= 0 && pre_next_ != pre_end_ && pre_next_->start == static_cast<size_t>(at)) {
      const size_t size = pre_next_->length + size_t{2};
      *line = std::string_view(pos_, size);
      pos_ += size;
      pre_line_ = pre_next_++;
      return true;
    }
    if (limit > 0) {
      const ptrdiff_t to = at + static_cast<ptrdiff_t>(limit);
      if (to > 0) {
        const size_t from = at > 0 ? static_cast<size_t>(at) : 0;
        const size_t lf = NextBit(lf_bits_, from, static_cast<size_t>(to));
        if (lf < static_cast<size_t>(to)) {
          const char* next = fresh_ + lf + 1;
          *line = std::string_view(pos_, static_cast<size_t>(next - pos_));
          pos_ = next;
          // Lines split ahead of time come in file order; the ones passed
          // over (pieces of a long line never have one) are skipped.
          pre_line_ = nullptr;
          if (at >= 0) {
            while (pre_next_ != pre_end_ && pre_next_->start < static_cast<size_t>(at)) ++pre_next_;
            if (pre_next_ != pre_end_ && pre_next_->start == static_cast<size_t>(at) &&
                pre_next_->length + size_t{2} == line->size())
              pre_line_ = pre_next_++;
          }
          return true;
        }
      }
      if (avail >= kCarry - 1) {
        // No line end within 9,999 bytes: this piece is a record of its own.
        pre_line_ = nullptr;
        *line = std::string_view(pos_, kCarry - 1);
        pos_ += kCarry - 1;
        return true;
      }
    }
    if (eof_) {
      pre_line_ = nullptr;
      if (avail == 0) return false;
      *line = std::string_view(pos_, avail);  // last line without a line end
      pos_ = end_;
      return true;
    }
    Refill();
  }
}

void LineSource::Fill(int64_t block) {
  Slot& s = slots_[block % kSlots];
  char* fresh = s.buf.get() + kCarry;
  s.fresh_offset = next_offset_;
  bool hashing = hash_ != nullptr && !hash_failed_;
  s.before_ok = hashing && s.before->CopyFrom(*hash_);
  size_t got = 0;
  bool failed = false;
  bool short_piece = false;
  s.pre.clear();
  s.ends.clear();
  size_t line_start = SIZE_MAX;  // the first line may have begun in the block before
  int hint = -1;
  while (got < block_ && !short_piece && !stop_reading_.load(std::memory_order_relaxed)) {
    const size_t want = std::min(piece_, block_ - got);
    size_t n = 0;
    while (n < want) {
      const int64_t r = file_.Read(fresh + got + n, static_cast<int64_t>(want - n));
      if (r < 0) failed = true;
      if (r <= 0) break;
      n += static_cast<size_t>(r);
    }
    // The piece was just copied in and is still in the cache: map it and
    // hash it now, not when it would have to come back from memory.
    const size_t word = got / 64;
    ClassifyBytes(fresh + got, n, s.lf.get() + word, s.bar.get() + word, s.bad.get() + word);
    if (hashing) {
      if (hash_->Update(fresh + got, n)) {
        hashed_bytes_ += static_cast<int64_t>(n);
      } else {
        hash_failed_ = true;
        hashing = false;
      }
    }
    if (split_in_fill_) PreSplitLines(s, fresh, got, got + n, &line_start, &hint, nullptr);
    got += n;
    short_piece = n < want;  // the end of the file, or a read error
  }
  s.fresh_len = got;
  s.last = got < block_;
  next_offset_ += static_cast<int64_t>(got);
  if (failed) read_failed_ = true;
}

void LineSource::SplitWork() {
  std::unique_lock<std::mutex> lock(mu_);
  for (;;) {
    if (stopping_) return;
    if (next_split_ < filled_) {
      Slot& s = slots_[next_split_++ % kSlots];
      lock.unlock();
      size_t line_start = SIZE_MAX;
      int hint = -1;
      PreSplitLines(s, s.buf.get() + kCarry, 0, s.fresh_len, &line_start, &hint, precheck_);
      lock.lock();
      s.split_done = true;
      cv_.notify_all();
      continue;
    }
    cv_.wait(lock);
  }
}

void LineSource::PreSplitLines(Slot& s, const char* fresh, size_t from, size_t to,
                               size_t* line_start, int* hint, PreCheck precheck) {
  Record rec;
  for (size_t lf = NextBit(s.lf.get(), from, to); lf < to; lf = NextBit(s.lf.get(), lf + 1, to)) {
    if (*line_start != SIZE_MAX) {
      PreSplitLine pre;
      if (PreSplit(fresh, *line_start, lf + 1 - *line_start, s.bar.get(), s.bad.get(), *hint, &pre,
                   s.ends)) {
        if (precheck != nullptr) {
          TakePreSplit(fresh + pre.start, pre, s.ends.data() + pre.ends_at, rec);
          pre.known_valid = static_cast<uint16_t>(precheck(rec));
        }
        s.pre.push_back(pre);
        *hint = pre.type_index;
      }
    }
    *line_start = lf + 1;
  }
}

void LineSource::Refill() {
  const uint64_t start = platform::Ticks();
  const int64_t next = current_ + 1;
  if (!thread_.joinable()) {
    Fill(next);
  } else {
    std::unique_lock<std::mutex> lock(mu_);
    cv_.wait(lock, [&] {
      return filled_ > next && (split_in_fill_ || slots_[next % kSlots].split_done);
    });
  }
  Slot& s = slots_[next % kSlots];
  // Carry the start of a cut line over to the new block, then let the old
  // one's slot go to the reading.
  const size_t carry = static_cast<size_t>(end_ - pos_);
  char* fresh = s.buf.get() + kCarry;
  if (carry > 0) std::memmove(fresh - carry, pos_, carry);
  if (current_ >= 0 && thread_.joinable()) {
    std::lock_guard<std::mutex> lock(mu_);
    released_ = current_ + 1;
    cv_.notify_all();
  }
  current_ = next;
  fresh_ = fresh;
  lf_bits_ = s.lf.get();
  bits_.bar = s.bar.get();
  bits_.bad = s.bad.get();
  pre_next_ = s.pre.data();
  pre_end_ = s.pre.data() + s.pre.size();
  pre_ends_ = s.ends.data();
  pre_line_ = nullptr;
  pos_ = fresh - carry;
  end_ = fresh + s.fresh_len;
  eof_ = s.last;
  if (read_ticks_ != nullptr) *read_ticks_ += platform::Ticks() - start;
}

void LineSource::Work() {
  std::unique_lock<std::mutex> lock(mu_);
  for (;;) {
    if (stopping_) return;
    // The slot of the next block must hold none the validation still has
    // (the one in hand is never released before the next one is taken).
    if (!reading_done_ && filled_ - released_ < kSlots) {
      const int64_t block = filled_;
      slots_[block % kSlots].split_done = false;
      lock.unlock();
      Fill(block);
      lock.lock();
      reading_done_ = slots_[block % kSlots].last;
      ++filled_;
      cv_.notify_all();
      continue;
    }
    cv_.wait(lock);
  }
}

bool LineSource::FinishHash(int64_t upto, bool finish) {
  if (thread_.joinable()) {
    stop_reading_.store(true, std::memory_order_relaxed);
    {
      std::lock_guard<std::mutex> lock(mu_);
      stopping_ = true;
      cv_.notify_all();
    }
    thread_.join();
  }
  StopWorkers();
  if (!finish || hash_ == nullptr) return true;
  // The usual end: the digest holds every byte read, and those are the bytes
  // the run took.
  if (hashed_bytes_ == upto) return true;
  // The reading went further than the run: back to the state before the
  // block in hand, then its bytes up to `upto` (still in its slot).
  const Slot& s = slots_[std::max<int64_t>(current_, 0) % kSlots];
  if (!s.before_ok || !hash_->CopyFrom(*s.before)) return false;
  const int64_t n = current_ < 0 ? 0
                                 : std::clamp<int64_t>(upto - s.fresh_offset, 0,
                                                       static_cast<int64_t>(s.fresh_len));
  hash_failed_ = !hash_->Update(s.buf.get() + kCarry, static_cast<size_t>(n));
  hashed_bytes_ = s.fresh_offset + n;
  current_ = -1;
  return !hash_failed_;
}

}  // namespace volp
