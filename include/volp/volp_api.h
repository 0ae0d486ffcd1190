/* volp for any language: a plain C interface to validate a declaration file
 * and read its verdict, counters and findings, made to be called through a
 * foreign-function interface (Python ctypes, .NET P/Invoke, Java JNA/FFM) as
 * well as from C. docs/c-api.md shows it used.
 *
 * Shape of the interface
 *   - Two opaque handles: volp_options (what to validate with) and
 *     volp_result (what a run found). Each is made by the library and freed
 *     with its own _free function; freeing NULL does nothing.
 *   - Only C types cross: int, int32_t, int64_t, double, const char* and the
 *     handles. Status codes and enumerations travel as int.
 *   - Nothing throws; a failure comes back as a status code (volp_status).
 *
 * Strings
 *   - Every string given to the library is UTF-8 and NUL-terminated; every
 *     string it gives back is UTF-8 (texts of the file and the messages are
 *     converted once from ISO 8859-1 when the result is made).
 *   - Paths: UTF-8 on every system. On Windows they are opened through the
 *     system's ANSI code page: a path holding a character that this code page
 *     cannot represent is refused with VOLP_E_PATH_ENCODING (when the process
 *     runs with UTF-8 as its ANSI code page, every path works). On POSIX
 *     systems the bytes are used as they are.
 *   - A string from a volp_result stays valid until volp_result_free; the
 *     strings of volp_version, volp_status_name, volp_stop_reason_name and
 *     volp_message_template are static.
 *
 * Threads
 *   - Calls of volp_validate may run on several threads at once, each with
 *     its own options or with options shared read-only: every run has its own
 *     state. Two runs must not write the same report (the second run of the
 *     same file at the same time fails with VOLP_E_FAILED and touches nothing
 *     of the first one's).
 *   - A volp_result may be read from any number of threads at once.
 *   - volp_options_request_stop and volp_options_clear_stop may be called
 *     from any thread, also while a run uses the options (that is what they
 *     are for); the other setters must not run while a run uses the options.
 *   - The progress callback runs on the thread that called volp_validate.
 *
 * The ABI promise
 *   - Functions are only ever added, never changed or removed; enumerations
 *     only grow (a binding should treat an unknown value as "other"). No
 *     structure is ever passed by value or by pointer, so there is no layout
 *     to keep. volp_api_version() tells which functions a library has.
 */
#ifndef VOLP_VOLP_API_H
#define VOLP_VOLP_API_H

#include <stdint.h>

#include "volp/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The level of this interface: 1 for the functions below. A later library
 * that adds functions returns a higher number; the functions of a level are
 * in every library that returns it or more. */
#define VOLP_API_VERSION 1
VOLP_API int volp_api_version(void);

/* The library's version as its reports print it ("1.0.0"). */
VOLP_API const char* volp_version(void);

/* ---- Status codes --------------------------------------------------- */

enum volp_status {
  VOLP_OK = 0,
  /* A NULL handle or out pointer, or an option value out of its form. */
  VOLP_E_INVALID_ARGUMENT = 1,
  /* Memory ran out; nothing was made. */
  VOLP_E_NO_MEMORY = 2,
  /* The run could not be done or its report not put in place (file missing
   * or unreadable, municipality table not found, ...). volp_validate still
   * gives a result: volp_result_failure says why. */
  VOLP_E_FAILED = 3,
  /* A path is not valid UTF-8, or (Windows) holds a character that the ANSI
   * code page cannot represent. */
  VOLP_E_PATH_ENCODING = 4,
  /* A fault inside the library (a bug); nothing was made. */
  VOLP_E_INTERNAL = 5
};

/* A short English name of a status ("ok", "invalid-argument", "no-memory",
 * "failed", "path-encoding", "internal"); "unknown" for any other number. */
VOLP_API const char* volp_status_name(int status);

/* ---- Options -------------------------------------------------------- */

typedef struct volp_options volp_options;

/* Called every 100,000 lines of a run with the bytes read so far and the
 * size of the file; `user` is the pointer given with it. It may call
 * volp_options_request_stop. */
typedef void (*volp_progress_fn)(int64_t bytes_read, int64_t file_size, void* user);

/* New options with every value at its default; NULL when memory ran out. */
VOLP_API volp_options* volp_options_new(void);
VOLP_API void volp_options_free(volp_options* options);

/* The directory of the municipality table RELATORIO_DTB_BRASIL_MUNICIPIO.csv;
 * NULL or "" = the library's default. */
VOLP_API int volp_options_set_tables_dir(volp_options* options, const char* dir);
/* The day the file is validated as, AAAAMMDD (eight digits): dates after it
 * are "adiantada". NULL or "" = the local date of the run. Fix it to get the
 * same findings from an old file on any day. */
VOLP_API int volp_options_set_today(volp_options* options, const char* aaaammdd);
/* Where the XML report goes, as a path without extension: the report is
 * "<stem>.validacao.xml". NULL or "" = beside the input (the input's path up
 * to its last "."). Takes precedence over a report directory. */
VOLP_API int volp_options_set_report_stem(volp_options* options, const char* stem);
/* A directory for the reports: the report of "x/decl.txt" is then
 * "<dir>/decl.validacao.xml". NULL or "" = beside the input. */
VOLP_API int volp_options_set_report_dir(volp_options* options, const char* dir);
/* The progress callback and its user pointer; fn NULL = none. */
VOLP_API int volp_options_set_progress(volp_options* options, volp_progress_fn fn, void* user);

/* Asks every run that uses these options to stop. A run looks at the request
 * every 100,000 lines (right before it would report progress): it then stops,
 * writes its report (which says the validation was cancelled) and its
 * result tells VOLP_STOP_CANCELLED. The request stays until cleared, so runs
 * started later with these options stop at their first look too. Safe from
 * any thread and from the progress callback. */
VOLP_API int volp_options_request_stop(volp_options* options);
VOLP_API int volp_options_clear_stop(volp_options* options);

/* ---- Validation ----------------------------------------------------- */

typedef struct volp_result volp_result;

/* Validates the file at `path` (UTF-8) with `options` (NULL = defaults) and
 * writes the XML report. On VOLP_OK and VOLP_E_FAILED, *out receives a
 * result to read and free with volp_result_free; on any other status *out is
 * set to NULL. A file with findings, or a run that stopped early, is still
 * VOLP_OK: read the verdict from the result. */
VOLP_API int volp_validate(const char* path, const volp_options* options, volp_result** out);

VOLP_API void volp_result_free(volp_result* result);

/* ---- Reading a result ----------------------------------------------- */
/* Every getter accepts NULL and an index out of range: numbers then read 0
 * and strings NULL. Strings are otherwise never NULL ("" when empty). */

/* Why a run did not read its file to the end. */
enum volp_stop_reason {
  VOLP_STOP_NONE = 0,               /* read to the end */
  VOLP_STOP_ERROR_LIMIT = 1,        /* 3,000 errors */
  VOLP_STOP_UNKNOWN_TYPE_LIMIT = 2, /* 100 lines of unknown record type */
  VOLP_STOP_CANCELLED = 3,          /* volp_options_request_stop or the stop file */
  VOLP_STOP_READ_ERROR = 4          /* the file could not be read further */
};

/* 1 when the run reached its end, the report is in place and there are no
 * errors (the report says "Arquivo validado"); else 0. */
VOLP_API int volp_result_valid(const volp_result* result);
/* 1 when the run reached its end and the report is in place. */
VOLP_API int volp_result_completed(const volp_result* result);
/* 1 when the run completed having read the whole file: a verdict on part
 * of a file is no verdict on the file. */
VOLP_API int volp_result_read_whole_file(const volp_result* result);
/* A volp_stop_reason. */
VOLP_API int volp_result_stop_reason(const volp_result* result);
/* "complete", "error-limit", "unknown-type-limit", "cancelled",
 * "read-error"; "unknown" for any other number. */
VOLP_API const char* volp_stop_reason_name(int reason);
/* Why the run could not be done ("" when it was done). */
VOLP_API const char* volp_result_failure(const volp_result* result);

/* The file as given, the report written (or that would have been written),
 * the municipality table used. */
VOLP_API const char* volp_result_path(const volp_result* result);
VOLP_API const char* volp_result_report_path(const volp_result* result);
VOLP_API const char* volp_result_tables_path(const volp_result* result);
/* SHA-256 of the file, 64 upper-case hexadecimal digits ("" when the run
 * stopped before the end of the file). */
VOLP_API const char* volp_result_sha256(const volp_result* result);
/* The day validated as, AAAAMMDD. */
VOLP_API const char* volp_result_validation_date(const volp_result* result);
/* Wall-clock seconds of the whole call. */
VOLP_API double volp_result_elapsed_seconds(const volp_result* result);

VOLP_API int64_t volp_result_errors(const volp_result* result);
VOLP_API int64_t volp_result_warnings(const volp_result* result);
VOLP_API int64_t volp_result_rejected_lines(const volp_result* result);
VOLP_API int64_t volp_result_unknown_records(const volp_result* result);
VOLP_API int64_t volp_result_records_read(const volp_result* result);
VOLP_API int64_t volp_result_file_size(const volp_result* result);
/* Bytes up to the end of the last line read, and that line's number. */
VOLP_API int64_t volp_result_bytes_read(const volp_result* result);
VOLP_API int64_t volp_result_last_line(const volp_result* result);

/* The per-type table: one row per record type, in file order ("0000" first). */
VOLP_API int64_t volp_result_type_count(const volp_result* result);
VOLP_API const char* volp_result_type_code(const volp_result* result, int64_t index);
VOLP_API int64_t volp_result_type_total(const volp_result* result, int64_t index);
VOLP_API int64_t volp_result_type_rejected(const volp_result* result, int64_t index);
VOLP_API int64_t volp_result_type_warnings(const volp_result* result, int64_t index);
VOLP_API int64_t volp_result_type_errors(const volp_result* result, int64_t index);

/* The findings kept for the report (every error; at most 10,000 warnings),
 * sorted by line. */
VOLP_API int64_t volp_result_finding_count(const volp_result* result);
/* The message's stable code ("VOLP-1110-MCAPT-SEM-0200"). */
VOLP_API const char* volp_result_finding_code(const volp_result* result, int64_t index);
/* 1 warning ("Advertência"); 2 or 3 error ("Rejeição"). */
VOLP_API int32_t volp_result_finding_severity(const volp_result* result, int64_t index);
VOLP_API const char* volp_result_finding_message(const volp_result* result, int64_t index);
/* "0000" ... or "" for findings about the file or a line's framing. */
VOLP_API const char* volp_result_finding_record_type(const volp_result* result, int64_t index);
VOLP_API const char* volp_result_finding_field_name(const volp_result* result, int64_t index);
/* The field's content as the file holds it. */
VOLP_API const char* volp_result_finding_content(const volp_result* result, int64_t index);
/* 1-based line (0 for findings about the whole file) and the byte offset of
 * the record's first byte. */
VOLP_API int64_t volp_result_finding_line(const volp_result* result, int64_t index);
VOLP_API int64_t volp_result_finding_offset(const volp_result* result, int64_t index);
/* 1-based field number (0 = the record as a whole); the field's position in
 * the record (-1 when the finding has no field) and its length, as the XML
 * report prints them. */
VOLP_API int32_t volp_result_finding_field_number(const volp_result* result, int64_t index);
VOLP_API int32_t volp_result_finding_column(const volp_result* result, int64_t index);
VOLP_API int32_t volp_result_finding_length(const volp_result* result, int64_t index);
/* 1 when the end-of-file checks of a run that stopped early found it: it may
 * only say that the part never read would have held what was missing. */
VOLP_API int volp_result_finding_follows_stop(const volp_result* result, int64_t index);

/* The message format behind a code (printf placeholders such as "%s" where
 * the values go; UTF-8), or NULL for a code that is not in the table. */
VOLP_API const char* volp_message_template(const char* code);

#ifdef __cplusplus
}
#endif

#endif /* VOLP_VOLP_API_H */
