// The support services exported beside ValidadorVOLP: file services for the
// transmitter (reading a declaration line by line, copying, moving, sizes,
// finding its companion programs), the machine description, the version
// services, the system log and the Portuguese texts of system errors.
//
// Every function keeps to the C conventions of volp.h: narrow strings,
// caller buffers with their sizes, integer results, nothing thrown.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "entry/error_texts.hpp"
#include "entry/lifetime.hpp"
#include "platform/platform.hpp"
#include "platform/system.hpp"
#include "volp/volp.h"

namespace volp {
namespace {

thread_local int g_last_error = 0;

constexpr int kMaxOpenFiles = 64;
constexpr size_t kReadBlock = 1 << 16;

// A file opened by AbrirArquivoBinario, read in blocks and handed out a line
// at a time.
struct OpenFile {
  platform::InputFile file;
  std::vector<char> buf = std::vector<char>(kReadBlock);
  size_t pos = 0;  // next byte to hand out
  size_t len = 0;  // bytes in buf
  bool at_end = false;
};

std::mutex g_files_mutex;
std::unique_ptr<OpenFile> g_files[kMaxOpenFiles];  // handle h is g_files[h - 1]

OpenFile* FileFor(int handle) {
  if (handle < 1 || handle > kMaxOpenFiles) return nullptr;
  return g_files[handle - 1].get();
}

// Copies `text` into the caller's buffer: its length, or VOLP_BUFFER_PEQUENO.
int GiveText(const std::string& text, char* out, int size) {
  if (out == nullptr || size < 1) return VOLP_ERRO;
  if (text.size() + 1 > static_cast<size_t>(size)) {
    out[0] = '\0';
    return VOLP_BUFFER_PEQUENO;
  }
  std::memcpy(out, text.c_str(), text.size() + 1);
  return static_cast<int>(text.size());
}

int Failed(int error) {
  g_last_error = error;
  return error != 0 ? error : -1;
}

// "1.2.3" -> {1, 2, 3, 0}; false when it is not dotted numbers (at most 4).
bool ParseVersion(const char* text, int parts[4]) {
  std::fill(parts, parts + 4, 0);
  if (text == nullptr || *text == '\0') return false;
  int n = 0;
  const char* p = text;
  for (;;) {
    if (n == 4 || *p < '0' || *p > '9') return false;
    long value = 0;
    while (*p >= '0' && *p <= '9') {
      value = value * 10 + (*p++ - '0');
      if (value > 65535) return false;
    }
    parts[n++] = static_cast<int>(value);
    if (*p == '\0') return true;
    if (*p++ != '.') return false;
  }
}

}  // namespace

void ReleaseFileServices() {
  std::lock_guard<std::mutex> lock(g_files_mutex);
  for (auto& f : g_files) f.reset();
}

}  // namespace volp

using namespace volp;

extern "C" {

VOLP_API int AbrirArquivoBinario(const char* caminho) {
  if (caminho == nullptr) return VOLP_ERRO;
  try {
    auto f = std::make_unique<OpenFile>();
    int error = 0;
    if (platform::IsDirectory(caminho)) {
      g_last_error = platform::DirectoryError();
      return VOLP_ERRO;
    }
    if (!f->file.Open(caminho, &error)) {
      g_last_error = error;
      return VOLP_ERRO;
    }
    std::lock_guard<std::mutex> lock(g_files_mutex);
    for (int i = 0; i < kMaxOpenFiles; ++i) {
      if (!g_files[i]) {
        g_files[i] = std::move(f);
        return i + 1;
      }
    }
    g_last_error = 0;
    return VOLP_ERRO;  // too many open files
  } catch (...) {
    return VOLP_ERRO;
  }
}

VOLP_API int LerRegistroArquivo(int arquivo, char* registro, int tamanho) {
  if (registro == nullptr || tamanho < 1) return VOLP_ERRO;
  registro[0] = '\0';
  std::lock_guard<std::mutex> lock(g_files_mutex);
  OpenFile* f = FileFor(arquivo);
  if (f == nullptr) return VOLP_ERRO;
  const size_t room = static_cast<size_t>(tamanho) - 1;  // bytes before the NUL
  try {
    for (;;) {
      const char* begin = f->buf.data() + f->pos;
      const void* lf = std::memchr(begin, '\n', f->len - f->pos);
      const bool whole = lf != nullptr || f->at_end;
      if (whole) {
        const size_t n = lf != nullptr
                             ? static_cast<size_t>(static_cast<const char*>(lf) - begin) + 1
                             : f->len - f->pos;
        if (n > room) return VOLP_BUFFER_PEQUENO;
        std::memcpy(registro, begin, n);
        registro[n] = '\0';
        f->pos += n;
        return static_cast<int>(n);
      }
      if (f->len - f->pos > room) return VOLP_BUFFER_PEQUENO;
      // Keep the unfinished line at the front and read more behind it.
      std::memmove(f->buf.data(), begin, f->len - f->pos);
      f->len -= f->pos;
      f->pos = 0;
      if (f->len == f->buf.size()) f->buf.resize(f->buf.size() * 2);
      const int64_t got =
          f->file.Read(f->buf.data() + f->len, static_cast<int64_t>(f->buf.size() - f->len));
      if (got < 0) {
        g_last_error = platform::LastError();
        return VOLP_ERRO;
      }
      if (got == 0) f->at_end = true;
      f->len += static_cast<size_t>(got);
    }
  } catch (...) {
    return VOLP_ERRO;
  }
}

VOLP_API int FecharArquivoBinario(int arquivo) {
  std::lock_guard<std::mutex> lock(g_files_mutex);
  if (FileFor(arquivo) == nullptr) return -1;
  g_files[arquivo - 1].reset();
  return 0;
}

VOLP_API int CopiarArquivo(const char* origem, const char* destino) {
  if (origem == nullptr || destino == nullptr) return -1;
  try {
    int error = 0;
    return platform::CopyFileOver(origem, destino, &error) ? 0 : Failed(error);
  } catch (...) {
    return -1;
  }
}

VOLP_API int MoverArquivo(const char* origem, const char* destino) {
  if (origem == nullptr || destino == nullptr) return -1;
  try {
    int error = 0;
    return platform::MoveFileOver(origem, destino, &error) ? 0 : Failed(error);
  } catch (...) {
    return -1;
  }
}

VOLP_API long long ObterTamanhoArquivo(const char* caminho) {
  if (caminho == nullptr) return VOLP_ERRO;
  try {
    int64_t size = 0;
    bool is_dir = false;
    int error = 0;
    if (!platform::InputFile::Stat(caminho, &size, &is_dir, &error)) {
      g_last_error = error;
      return VOLP_ERRO;
    }
    if (is_dir) {
      g_last_error = platform::DirectoryError();
      return VOLP_ERRO;
    }
    return size;
  } catch (...) {
    return VOLP_ERRO;
  }
}

VOLP_API int AcharCaminhoPrograma(const char* programa, char* caminho, int tamanho) {
  try {
    const std::string self = platform::ModulePath();
    if (self.empty()) return VOLP_ERRO;
    if (programa == nullptr || *programa == '\0') return GiveText(self, caminho, tamanho);
    const size_t sep = self.find_last_of("\\/");
    const std::string path = (sep == std::string::npos ? std::string(".") : self.substr(0, sep)) +
                             platform::Separator() + programa;
    if (!platform::FileExists(path)) {
      g_last_error = platform::LastError();
      if (caminho != nullptr && tamanho > 0) caminho[0] = '\0';
      return VOLP_ERRO;
    }
    return GiveText(path, caminho, tamanho);
  } catch (...) {
    return VOLP_ERRO;
  }
}

VOLP_API int InformacoesAdicionais(char* texto, int tamanho) {
  try {
    const platform::MachineInfo m = platform::DescribeMachine();
    return GiveText(m.user + "|" + m.computer + "|" + m.system + "|" + m.disk_serial, texto,
                    tamanho);
  } catch (...) {
    return VOLP_ERRO;
  }
}

VOLP_API int ObterVersao(char* versao, int tamanho) {
  try {
    const platform::Versions v = platform::ReadVersions();
    if (v.failure != 0) return VOLP_ERRO;
    return GiveText(v.library, versao, tamanho);
  } catch (...) {
    return VOLP_ERRO;
  }
}

VOLP_API int VerificarVersaoDLL(const char* minima) {
  try {
    int wanted[4];
    int have[4];
    if (!ParseVersion(minima, wanted)) return -1;
    const platform::Versions v = platform::ReadVersions();
    if (v.failure != 0 || !ParseVersion(v.library.c_str(), have)) return -1;
    return std::lexicographical_compare(have, have + 4, wanted, wanted + 4) ? 0 : 1;
  } catch (...) {
    return -1;
  }
}

VOLP_API int LogEvento(int tipo, const char* mensagem) {
  if (mensagem == nullptr || tipo < 0 || tipo > 2) return -1;
  try {
    return platform::SystemLog(tipo, mensagem) ? 0 : Failed(platform::LastError());
  } catch (...) {
    return -1;
  }
}

VOLP_API int TextoErroSistema(int erro, char* texto, int tamanho) {
  try {
    char prefix[32];
    std::snprintf(prefix, sizeof prefix, "Erro %03d: ", erro);
    const char* known = SystemErrorText(erro);
    return GiveText(std::string(prefix) + (known != nullptr ? known : platform::ErrorText(erro)),
                    texto, tamanho);
  } catch (...) {
    return VOLP_ERRO;
  }
}

VOLP_API int ObterUltimoErro(void) { return g_last_error; }

}  // extern "C"
