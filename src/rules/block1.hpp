// Block 1: 1001 (opening), 1100 (monthly summary per client), 1110 (daily
// total per device), 1115 (transaction), 1120 (destination of a transaction),
// 1200 (cancellation), 1220 (its destination), 1990 (closing), and the checks
// that close the groups.
#pragma once

#include <cstdint>

namespace volp {

struct Run;
struct Record;

struct Block1State {
  int placeholder = 0;  // filled in by the block 1 rules
};

void ValidarRegistro_1001(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1100(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1110(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1115(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1120(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1200(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1220(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_1990(Run& run, Record& rec, int prev_type, int src_line);

// Group closings, called by the structure machine where a group ends.
void VerificacaoRegistro_1110(Run& run, int src_line);
void VerificacaoRegistro_1100(Run& run, int src_line);
void VerificacaoRegistro_1100_TransacoesComCPF(Run& run, int src_line);

// The per-group sets and sums that the structure machine empties; each writes
// its "Zerando ..." trace line.
enum class Distintos { kR1100, kR1110, kR1115, kR1200 };
void ZerarDistintos(Run& run, Distintos which, int src_line);
void ZerarContadoresR1110(Run& run, int src_line);
void ZerarContadoresR1115(Run& run, int src_line);

// True when the last 1100 read had VALOR and QTD both 0 (a finalidade-3 file
// may then go on without daily totals).
bool Ultimo1100Zerado(const Run& run);

}  // namespace volp
