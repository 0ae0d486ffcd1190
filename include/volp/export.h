/* How volp's functions are exported: from volp.dll (dllexport while it is
 * built, dllimport for its users), with default visibility from libvolp.so,
 * and plainly when a program links the static library (VOLP_STATIC). Plain
 * C89, so that every public C header can include it. */
#ifndef VOLP_EXPORT_H
#define VOLP_EXPORT_H

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

#endif /* VOLP_EXPORT_H */
