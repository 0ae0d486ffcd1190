// The state the library keeps for the life of the process (the C entry's
// findings and log, the open files of the file services) is released when the
// library is unloaded, so that loading it again starts clean.
#pragma once

namespace volp {

// Frees the C entry's process-wide run state (entry.cpp).
void ReleaseEntryState();
// Closes the files left open through AbrirArquivoBinario (services.cpp).
void ReleaseFileServices();

}  // namespace volp
