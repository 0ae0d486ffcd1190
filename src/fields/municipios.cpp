// The IBGE territorial division table (one municipality per line) as the
// statistics institute publishes it: a CSV whose header names the column
// "Código Município Completo", the seven-digit code that declarations carry.
// Published copies differ in encoding (Latin-1 or UTF-8, with or without a
// byte-order mark) and separator (";", "," or tab), so both are taken from the
// header line.
#include "fields/municipios.hpp"

#include <string>
#include <string_view>
#include <vector>

#include "core/latin1.hpp"
#include "core/log.hpp"
#include "platform/platform.hpp"

namespace volp {

namespace {

constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";
constexpr std::string_view kHeaderUtf8 = "Código Município Completo";

std::string_view HeaderLatin1() { return "Código Município Completo"_l1; }

// Parses a seven-digit code; false for anything else.
bool ParseCode(std::string_view s, uint32_t* out) {
  if (s.size() != 7) return false;
  uint32_t n = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
    n = n * 10 + static_cast<uint32_t>(c - '0');
  }
  *out = n;
  return true;
}

// A cell without the blanks and the double quotes around it.
std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r'))
    s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
    s.remove_suffix(1);
  if (s.size() >= 2 && s.front() == '"' && s.back() == '"') s = s.substr(1, s.size() - 2);
  return s;
}

// The cell at `index` (0-based) of a line split by `sep`, or false when the
// line is shorter.
bool Cell(std::string_view line, char sep, int index, std::string_view* out) {
  for (int i = 0; i < index; ++i) {
    size_t p = line.find(sep);
    if (p == std::string_view::npos) return false;
    line.remove_prefix(p + 1);
  }
  size_t p = line.find(sep);
  *out = Trim(p == std::string_view::npos ? line : line.substr(0, p));
  return true;
}

bool IsSeparator(char c) { return c == ';' || c == ',' || c == '\t'; }

// Finds the code column in the header: its separator (the one next to the
// column's name, ';' when the header has a single column) and its index.
bool ReadHeader(std::string_view header, char* sep, int* column) {
  std::string_view name = HeaderLatin1();
  size_t at = header.find(name);
  if (at == std::string_view::npos) {
    name = kHeaderUtf8;
    at = header.find(name);
  }
  if (at == std::string_view::npos) return false;
  size_t before = at, after = at + name.size();
  if (before > 0 && header[before - 1] == '"') --before;
  if (after < header.size() && header[after] == '"') ++after;
  while (before > 0 && header[before - 1] == ' ') --before;
  while (after < header.size() && header[after] == ' ') ++after;
  *sep = ';';
  if (before > 0 && IsSeparator(header[before - 1])) {
    *sep = header[before - 1];
  } else if (after < header.size() && IsSeparator(header[after])) {
    *sep = header[after];
  }
  int index = 0;
  for (size_t i = 0; i < before; ++i) {
    if (header[i] == *sep) ++index;
  }
  *column = index;
  return true;
}

bool ReadWholeFile(const std::string& path, Log& log, std::string* data) {
  platform::InputFile file;
  int error = 0;
  if (!file.Open(path, &error)) {
    log.Write(0, "E#C9101: Erro ao tentar abrir o arquivo %s: %s\n", path.c_str(),
              platform::ErrorText(error).c_str());
    return false;
  }
  log.Write(3, "Abriu %s com descritor: %d\n", path.c_str(), file.descriptor());
  char buf[1 << 16];
  for (;;) {
    int64_t n = file.Read(buf, sizeof buf);
    if (n < 0) {
      log.Write(0, "E#C9101: Erro ao tentar abrir o arquivo %s: %s\n", path.c_str(),
                platform::ErrorText(platform::LastError()).c_str());
      return false;
    }
    if (n == 0) break;
    data->append(buf, static_cast<size_t>(n));
  }
  return true;
}

bool Load(const std::string& path, Log& log, Municipios& out) {
  std::string data;
  if (!ReadWholeFile(path, log, &data)) return false;

  std::string_view rest = data;
  if (rest.starts_with(kUtf8Bom)) rest.remove_prefix(kUtf8Bom.size());
  size_t eol = rest.find('\n');
  std::string_view header = rest.substr(0, eol);
  char sep = ';';
  int column = 0;
  if (!ReadHeader(header, &sep, &column)) {
    log.Write(0, "E#C9111: O arquivo %s não contém a linha de cabeçalho na primeira linha!\n"_l1,
              path.c_str());
    return false;
  }
  rest = eol == std::string_view::npos ? std::string_view() : rest.substr(eol + 1);

  int line_number = 1;
  while (!rest.empty()) {
    ++line_number;
    eol = rest.find('\n');
    std::string_view line = rest.substr(0, eol);
    rest = eol == std::string_view::npos ? std::string_view() : rest.substr(eol + 1);
    if (Trim(line).empty()) continue;  // a blank line carries nothing to check
    std::string_view cell;
    uint32_t code = 0;
    if (!Cell(line, sep, column, &cell) || !ParseCode(cell, &code)) {
      log.Write(0, "E#C9112: O arquivo %s contém informação inválida no campo %d da linha %d!\n"_l1,
                path.c_str(), column + 1, line_number);
      continue;
    }
    out.Add(code);
  }
  // A header over no usable line leaves nothing to look codes up in; the
  // run cannot go on and says why.
  if (out.size() == 0) {
    log.Write(0, "E#C9113: O arquivo %s não contém nenhum código de município válido!\n"_l1,
              path.c_str());
    return false;
  }
  return true;
}

}  // namespace

bool Municipios::Contains(std::string_view code) const {
  uint32_t n = 0;
  return ParseCode(code, &n) && codes_.contains(n);
}

bool LerCodigosMunicipioIBGE(const std::string& dir, Log& log, Municipios& out) {
  log.Write(5, "LerCodigosMunicipioIBGE()\n");
  out.Clear();
  std::string base = dir.empty() ? platform::CurrentDirectory() : dir;
  std::string path;
  if (!base.empty()) {
    path = base;
    if (path.back() != platform::Separator()) path += platform::Separator();
  }
  path += kMunicipiosFile;
  out.source = path;
  bool ok = Load(path, log, out);
  if (!ok) out.Clear();
  log.Write(5, "retorno LerCodigosMunicipioIBGE\n");
  return ok;
}

}  // namespace volp
