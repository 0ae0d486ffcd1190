// Portuguese texts of the system error numbers 0 to 255, without their
// "Erro NNN: " prefix (TextoErroSistema adds it).
#pragma once

namespace volp {

inline constexpr int kSystemErrorTexts = 256;

// The text for `error`, or null outside 0..255. ISO 8859-1.
const char* SystemErrorText(int error);

}  // namespace volp
