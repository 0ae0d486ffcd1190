// The findings of a run and the counters that the report prints and the run
// limits read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/messages.hpp"
#include "core/record.hpp"
#include "core/record_types.hpp"
#include "volp/validator.hpp"

namespace volp {

struct TypeCounters {
  int64_t count = 0;  // records of this type read
  int64_t warnings = 0;
  int64_t errors = 0;
  int64_t rejected = 0;     // records of this type with at least one error
  int64_t time_us = 0;      // handling time
  uint64_t time_ticks = 0;  // (raw clock ticks behind time_us)
};

inline constexpr int64_t kMaxErrors = 3000;
inline constexpr int64_t kMaxKeptWarnings = 10000;

class Log;

// The list and the counters. In the exported C entry one of these lives for
// the whole process (its counters are never reset between calls); the C++ API
// gives every call a fresh one.
struct FindingsCollector {
  std::vector<Finding> list;
  int64_t errors = 0;
  int64_t warnings = 0;
  int64_t rejected_lines = 0;
  int64_t last_rejected_line = 0;
  TypeCounters per_type[kRecordTypeCount];
};

// Records one finding. `type_index` is the row of kRecordTypes or -1;
// `type_code` the code to print (for an unknown record type it is the text
// read, with type_index -1). `field_index` 0 gives field number 0; k gives
// |k| + 1; negative means "the record as a whole" (length -1). `code` is the
// message's stable code (core/messages.inc).
void SalvarErroArquivo(FindingsCollector& fc, Log& log, int64_t offset, int64_t line,
                       int type_index, std::string_view type_code, int32_t field_index,
                       const FieldRef* field, int32_t severity, std::string_view message,
                       std::string_view code = {});

}  // namespace volp
