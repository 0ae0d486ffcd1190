// Totals: 0990 (lines of block 0), 9001, 9900 (records per type), 9990 (lines
// of block 9), 9999 (lines of the file), and the check at the end that every
// type present or required has its 9900.
#pragma once

#include <cstdint>

#include "layout/tables.hpp"

namespace volp {

struct Run;
struct Record;

struct Block9State {
  int placeholder = 0;  // filled in by the block 9 rules
};

void ValidarRegistro_0990(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_9001(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_9900(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_9990(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_9999(Run& run, Record& rec, int prev_type, int src_line);

void VerificacaoRegistro_9900(Run& run, int64_t offset, int64_t line, int src_line);

}  // namespace volp
