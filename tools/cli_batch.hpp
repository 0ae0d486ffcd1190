// The table `volp validate A B DIR...` prints after validating several files:
// one row per file with its verdict, how much of it was read, its counts and
// its time; the exit status of the batch is the worst of its runs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli_terminal.hpp"

namespace volp::cli {

struct BatchRow {
  std::string file;
  // "valid", "errors", "cancelled", "not done" (the run could not be done)
  // or "skipped" (not started: the batch was stopped before it).
  std::string verdict;
  std::string read;     // "whole", "7%" or "-"
  int64_t errors = -1;  // -1: no count (not done, skipped)
  int64_t warnings = -1;
  int64_t lines = -1;
  double seconds = -1;
  int status = 0;
};

// 2 over 1 over 0.
int WorstStatus(int a, int b);

// The table, fitted to `width` by shortening the file names from the left
// (the end of a path tells files apart best).
std::string BatchTable(const std::vector<BatchRow>& rows, int width, const Style& style);

}  // namespace volp::cli
