// The states of the file structure machine, in order; the names are printed
// in the trace of every record.
#pragma once

namespace volp {

enum State : int {
  kAguardando0000,
  kAguardando0001,
  kAguardando0005,
  kAguardando0100,
  kAguardando0105,
  kAguardando0200,
  kAguardando0300,
  kAguardando0600,
  kAguardando0990,
  kAguardando1001,
  kAguardando1100,
  kAguardando1110,
  kAguardando1115,
  kAguardando1200,
  kAguardando1990,
  kAguardando9001,
  kAguardando9900,
  kAguardando9990,
  kAguardando9999,
  kAguardandoFim,
  kAguardandoEncerrar,
};
inline constexpr int kStateCount = 21;
// A fresh run context starts in the first state.
static_assert(kAguardando0000 == 0);

// "AGUARDANDO_REGISTRO_0000" ... "AGUARDANDO_ENCERRAR"; "vazio" for -1.
const char* StateName(int state);

}  // namespace volp
