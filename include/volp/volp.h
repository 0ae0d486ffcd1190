/* volp: validator of VOLP declaration files.
 *
 * ValidadorVOLP validates one declaration file and writes its report
 * "<stem>.validacao.xml" (stem = the path up to its last ".", a dot in a
 * directory name included; the whole path when it has no ".").
 *
 *   arquivo     path of the declaration file
 *   nivelLog    log level as decimal text: 0 errors, 3 progress, 5 records, 7 findings
 *   caminhoLog  any path; its directory receives the log directory "log_VOLP_<pid>"
 *   ligarLog    decimal text; non-zero writes the log file
 *
 * Returns 1 when the run reached its end and the final report was put in
 * place, 0 otherwise (the reason is in the log at level 0, E#C codes).
 *
 * The findings list and the counters live for the whole process and are not
 * reset between calls; one process validates one file at a time. The
 * municipality table RELATORIO_DTB_BRASIL_MUNICIPIO.csv is read from the
 * current directory. To stop a run from outside, create the file
 * ".parar_ValidadorVOLP-<pid>" in the current directory of the validating
 * process.
 */
#ifndef VOLP_VOLP_H
#define VOLP_VOLP_H

#include "volp/export.h"

#ifdef __cplusplus
extern "C" {
#endif

VOLP_API int ValidadorVOLP(const char* arquivo, const char* nivelLog, const char* caminhoLog,
                           const char* ligarLog);

/* Support services. One convention for all of them:
 *   - strings are NUL-terminated narrow strings (ANSI code page on Windows);
 *   - text comes back in a buffer the caller gives with its size in bytes,
 *     always NUL-terminated when the size is at least 1;
 *   - functions that give back a text or a count return it as its length or
 *     value (0 or more), VOLP_ERRO (-1) on a failure (the system error is
 *     then returned by ObterUltimoErro) and VOLP_BUFFER_PEQUENO (-2) when the
 *     buffer is too small (nothing is truncated silently);
 *   - functions that only act return 0 on success, else the system error
 *     number (errno on POSIX, GetLastError on Windows), or -1 for a bad
 *     argument;
 *   - nothing throws; they may be called from several threads. */
#define VOLP_ERRO (-1)
#define VOLP_BUFFER_PEQUENO (-2)

/* Opens a file for binary reading; returns a handle (1 or more) or VOLP_ERRO.
 * At most 64 files are open at a time. */
VOLP_API int AbrirArquivoBinario(const char* caminho);
/* Reads the next line, its line end ("\n" or "\r\n") included, into
 * registro; returns its length, 0 at the end of the file, VOLP_ERRO on a read
 * error or a bad handle, VOLP_BUFFER_PEQUENO when the line does not fit (the
 * line is then left unread). */
VOLP_API int LerRegistroArquivo(int arquivo, char* registro, int tamanho);
/* Closes a handle of AbrirArquivoBinario; 0, or -1 for an unknown handle. */
VOLP_API int FecharArquivoBinario(int arquivo);
/* Copies origem over destino (replaced when it exists): the bytes go to a new
 * private file beside destino, which then takes its name in one step with
 * origem's access bits; a link at destino is replaced, never written through.
 * 0 or the system error; destino naming origem itself (also as "./x" or
 * through a link) is refused untouched with EINVAL (ERROR_INVALID_PARAMETER
 * on Windows). */
VOLP_API int CopiarArquivo(const char* origem, const char* destino);
/* Moves origem to destino (replaced when it exists; across file systems as a
 * copy and a removal); 0 or the system error; the same file on both sides is
 * refused untouched, as by CopiarArquivo. */
VOLP_API int MoverArquivo(const char* origem, const char* destino);
/* The size of a file in bytes (64-bit), or VOLP_ERRO. */
VOLP_API long long ObterTamanhoArquivo(const char* caminho);
/* The full path of the program `programa` (such as "zul_kop.exe") in the
 * library's own directory, when it exists there; with programa NULL or empty,
 * the library's own path. Returns the length or VOLP_ERRO (not found). */
VOLP_API int AcharCaminhoPrograma(const char* programa, char* caminho, int tamanho);
/* The machine described in one line "usuario|computador|sistema|serial":
 * user name, computer name, operating system and version, and the serial
 * number of the system disk's volume (only reported). Returns the length. */
VOLP_API int InformacoesAdicionais(char* texto, int tamanho);
/* This library's version as the report prints it ("1.0.0"); the length. */
VOLP_API int ObterVersao(char* versao, int tamanho);
/* 1 when this library's version is at least `minima` (dotted numbers,
 * "1.0" or "1.0.0.0"), 0 when it is older, -1 for a malformed argument. */
VOLP_API int VerificarVersaoDLL(const char* minima);
/* Writes a message to the system's event log (Windows) or syslog (POSIX):
 * tipo 0 information, 1 warning, 2 error. 0 or the system error. */
VOLP_API int LogEvento(int tipo, const char* mensagem);
/* The Portuguese text of system error number `erro` (0 to 255, as
 * GetLastError numbers them), "Erro 002: O sistema não pode encontrar o
 * arquivo especificado." in ISO 8859-1; other numbers get "Erro %03d: " and
 * the system's own text. Returns the length. */
VOLP_API int TextoErroSistema(int erro, char* texto, int tamanho);
/* The system error number of the last failed service on this thread. */
VOLP_API int ObterUltimoErro(void);

#ifdef __cplusplus
}
#endif

#endif /* VOLP_VOLP_H */
