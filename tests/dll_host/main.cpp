// A tiny transmitter: loads volp.dll from its own directory, calls
// ValidadorVOLP through GetProcAddress, as the desktop program does, and
// unloads it.
//   volp_host FILE             validates FILE (the municipality table comes
//                              from the current directory); exit status 0
//                              when ValidadorVOLP returned 1
//   volp_host --reload FILE    validates FILE twice with an unload between
//                              the runs; exit status 0 when the two reports
//                              are equal but for their times (a library
//                              loaded again starts from zero)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

namespace {

using Validador = int (*)(const char*, const char*, const char*, const char*);

int RunOnce(const char* file) {
  char self[MAX_PATH];
  DWORD n = GetModuleFileNameA(nullptr, self, sizeof self);
  std::string dll(self, n);
  dll = dll.substr(0, dll.find_last_of("\\/") + 1) + "volp.dll";
  HMODULE lib = LoadLibraryA(dll.c_str());
  if (lib == nullptr) {
    std::fprintf(stderr, "volp_host: cannot load %s (%lu)\n", dll.c_str(), GetLastError());
    return -1;
  }
  auto validador =
      reinterpret_cast<Validador>(reinterpret_cast<void*>(GetProcAddress(lib, "ValidadorVOLP")));
  if (validador == nullptr) {
    std::fprintf(stderr, "volp_host: volp.dll exports no ValidadorVOLP\n");
    FreeLibrary(lib);
    return -1;
  }
  const int result = validador(file, "0", file, "0");
  FreeLibrary(lib);
  return result;
}

std::string Masked(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  static const std::regex kTimes(
      "<(TempoTotalProcessamento|Leitura|Varredura|Registros|GravacaoValidacao|GravacaoRCAD|"
      "ValidadorMicrosegundos|ValidadorSegundos|DataHoraValidacao)>[^<]*</");
  return std::regex_replace(s.str(), kTimes, "<$1></");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2) return RunOnce(argv[1]) == 1 ? 0 : 1;
  if (argc == 3 && std::strcmp(argv[1], "--reload") == 0) {
    std::string report = argv[2];
    const size_t dot = report.find_last_of('.');
    if (dot != std::string::npos) report.resize(dot);
    report += ".validacao.xml";
    if (RunOnce(argv[2]) != 1) return 1;
    const std::string first = Masked(report);
    if (RunOnce(argv[2]) != 1) return 1;
    const std::string second = Masked(report);
    if (first != second) {
      std::fprintf(stderr, "volp_host: the second load did not start clean\n");
      return 1;
    }
    return 0;
  }
  std::fprintf(stderr, "usage: volp_host [--reload] FILE\n");
  return 2;
}
