#!/usr/bin/env python3
"""Validates a VOLP declaration file through libvolp's C interface (ctypes).

Prints the verdict, whether the whole file was read (and if not, why and how
far), the counters and the findings grouped by their code, with the first
examples of each. Exit status as the volp command line's: 0 no errors, 1
errors, 2 the run could not be done or was cancelled.

Usage:
  volp_check.py FILE [--lib PATH] [--tables DIR] [--today AAAAMMDD]
                     [--report-dir DIR] [--examples N]

The library is --lib, else the environment variable VOLP_LIBRARY, else the one
the system finds by the name "volp" (libvolp.so, volp.dll). Ctrl-C asks the
run to stop; it stops at its next checkpoint (every 100,000 lines) and still
writes its report.
"""

import argparse
import ctypes
import ctypes.util
import os
import signal
import sys
from collections import OrderedDict

VOLP_OK = 0
VOLP_E_FAILED = 3
VOLP_STOP_NONE = 0
VOLP_STOP_CANCELLED = 3

PROGRESS = ctypes.CFUNCTYPE(None, ctypes.c_int64, ctypes.c_int64, ctypes.c_void_p)


def load_library(path):
    path = path or os.environ.get("VOLP_LIBRARY") or ctypes.util.find_library("volp")
    if not path:
        raise OSError("libvolp not found: give --lib or set VOLP_LIBRARY")
    lib = ctypes.CDLL(path)

    # Every function used, with its C types: ctypes would otherwise take
    # int64_t and pointers for int.
    opts, res = ctypes.c_void_p, ctypes.c_void_p
    i64, i32, text = ctypes.c_int64, ctypes.c_int32, ctypes.c_char_p
    signatures = {
        "volp_version": (text, []),
        "volp_status_name": (text, [ctypes.c_int]),
        "volp_options_new": (opts, []),
        "volp_options_free": (None, [opts]),
        "volp_options_set_tables_dir": (ctypes.c_int, [opts, text]),
        "volp_options_set_today": (ctypes.c_int, [opts, text]),
        "volp_options_set_report_dir": (ctypes.c_int, [opts, text]),
        "volp_options_set_progress": (ctypes.c_int, [opts, PROGRESS, ctypes.c_void_p]),
        "volp_options_request_stop": (ctypes.c_int, [opts]),
        "volp_validate": (ctypes.c_int, [text, opts, ctypes.POINTER(ctypes.c_void_p)]),
        "volp_result_free": (None, [res]),
        "volp_result_valid": (ctypes.c_int, [res]),
        "volp_result_completed": (ctypes.c_int, [res]),
        "volp_result_read_whole_file": (ctypes.c_int, [res]),
        "volp_result_stop_reason": (ctypes.c_int, [res]),
        "volp_stop_reason_name": (text, [ctypes.c_int]),
        "volp_result_failure": (text, [res]),
        "volp_result_report_path": (text, [res]),
        "volp_result_sha256": (text, [res]),
        "volp_result_elapsed_seconds": (ctypes.c_double, [res]),
        "volp_result_errors": (i64, [res]),
        "volp_result_warnings": (i64, [res]),
        "volp_result_records_read": (i64, [res]),
        "volp_result_file_size": (i64, [res]),
        "volp_result_bytes_read": (i64, [res]),
        "volp_result_last_line": (i64, [res]),
        "volp_result_finding_count": (i64, [res]),
        "volp_result_finding_code": (text, [res, i64]),
        "volp_result_finding_severity": (i32, [res, i64]),
        "volp_result_finding_message": (text, [res, i64]),
        "volp_result_finding_line": (i64, [res, i64]),
        "volp_result_finding_follows_stop": (ctypes.c_int, [res, i64]),
        "volp_message_template": (text, [text]),
    }
    for name, (restype, argtypes) in signatures.items():
        function = getattr(lib, name)
        function.restype = restype
        function.argtypes = argtypes
    return lib


def utf8(raw):
    return raw.decode("utf-8") if raw is not None else ""


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("file")
    parser.add_argument("--lib", help="path of libvolp.so / volp.dll")
    parser.add_argument("--tables", help="directory of the municipality table")
    parser.add_argument("--today", help="validate as of this day, AAAAMMDD")
    parser.add_argument("--report-dir", help="write the XML report there")
    parser.add_argument("--examples", type=int, default=3, help="examples shown per code")
    args = parser.parse_args(argv)

    try:
        lib = load_library(args.lib)
    except OSError as e:
        print(f"volp_check: {e}", file=sys.stderr)
        return 2

    options = lib.volp_options_new()
    if not options:
        print("volp_check: out of memory", file=sys.stderr)
        return 2
    result = ctypes.c_void_p()
    try:
        for setter, value in ((lib.volp_options_set_tables_dir, args.tables),
                              (lib.volp_options_set_today, args.today),
                              (lib.volp_options_set_report_dir, args.report_dir)):
            if value is not None and setter(options, value.encode("utf-8")) != VOLP_OK:
                print(f"volp_check: invalid option value {value!r}", file=sys.stderr)
                return 2

        # The callback runs Python now and then during the run, which is when
        # a Ctrl-C handler gets to ask for the stop.
        def progress(bytes_read, file_size, _user):
            if sys.stderr.isatty() and file_size > 0:
                print(f"\r{100 * bytes_read // file_size:3d}%", end="", file=sys.stderr)

        callback = PROGRESS(progress)  # kept alive for the whole run
        lib.volp_options_set_progress(options, callback, None)
        previous = signal.signal(signal.SIGINT,
                                 lambda *_: lib.volp_options_request_stop(options))
        try:
            status = lib.volp_validate(os.fsencode(args.file) if os.name != "nt"
                                       else args.file.encode("utf-8"),
                                       options, ctypes.byref(result))
        finally:
            signal.signal(signal.SIGINT, previous)
            if sys.stderr.isatty():
                print("\r    \r", end="", file=sys.stderr)

        if status not in (VOLP_OK, VOLP_E_FAILED):
            print(f"volp_check: {utf8(lib.volp_status_name(status))}", file=sys.stderr)
            return 2
        return report(lib, result, args.file, args.examples)
    finally:
        lib.volp_result_free(result)
        lib.volp_options_free(options)


def report(lib, result, name, examples):
    if not lib.volp_result_completed(result):
        print(f"{name}: not validated: {utf8(lib.volp_result_failure(result))}")
        return 2

    errors = lib.volp_result_errors(result)
    warnings = lib.volp_result_warnings(result)
    verdict = "valid" if lib.volp_result_valid(result) else "invalid"
    print(f"{name}: {verdict} ({errors} errors, {warnings} warnings, "
          f"{lib.volp_result_records_read(result)} records, "
          f"{lib.volp_result_elapsed_seconds(result):.2f} s)")

    reason = lib.volp_result_stop_reason(result)
    if lib.volp_result_read_whole_file(result):
        print(f"complete: the whole file was read; SHA-256 {utf8(lib.volp_result_sha256(result))}")
    else:
        size = lib.volp_result_file_size(result)
        share = 100.0 * lib.volp_result_bytes_read(result) / size if size else 100.0
        print(f"INCOMPLETE: stopped at line {lib.volp_result_last_line(result)} "
              f"({share:.1f}% of the bytes): {utf8(lib.volp_stop_reason_name(reason))}")
    print(f"report: {utf8(lib.volp_result_report_path(result))}")

    groups = OrderedDict()
    for i in range(lib.volp_result_finding_count(result)):
        code = utf8(lib.volp_result_finding_code(result, i))
        groups.setdefault(code, []).append(i)
    for code, indexes in sorted(groups.items(), key=lambda g: (-len(g[1]), g[0])):
        severity = lib.volp_result_finding_severity(result, indexes[0])
        kind = "warning" if severity == 1 else "error"
        print(f"\n{code}  {kind}  x{len(indexes)}")
        print(f"  {utf8(lib.volp_message_template(code.encode('utf-8')))}")
        for i in indexes[:examples]:
            mark = " (follows from the stop)" if lib.volp_result_finding_follows_stop(result, i) else ""
            print(f"  line {lib.volp_result_finding_line(result, i)}: "
                  f"{utf8(lib.volp_result_finding_message(result, i))}{mark}")
        if len(indexes) > examples:
            print(f"  ... and {len(indexes) - examples} more")

    if reason == VOLP_STOP_CANCELLED:
        return 2
    return 1 if errors > 0 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
