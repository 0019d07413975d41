#ifndef ORBAFACTORY_EXPORT_H
#define ORBAFACTORY_EXPORT_H

/* Every symbol the library exports is declared with this macro; everything else stays hidden. */
#define ORBA_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
#define ORBA_BEGIN_DECLS extern "C" {
#define ORBA_END_DECLS }
#else
#define ORBA_BEGIN_DECLS
#define ORBA_END_DECLS
#endif

#endif
