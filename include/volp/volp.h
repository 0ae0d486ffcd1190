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

#if defined(VOLP_STATIC)
#define VOLP_API
#elif defined(_WIN32)
#if defined(VOLP_BUILDING)
#define VOLP_API __declspec(dllexport)
#else
#define VOLP_API __declspec(dllimport)
#endif
#else
#define VOLP_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

VOLP_API int ValidadorVOLP(const char* arquivo, const char* nivelLog, const char* caminhoLog,
                           const char* ligarLog);

#ifdef __cplusplus
}
#endif

#endif /* VOLP_VOLP_H */
