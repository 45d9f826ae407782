// The one export macro. Everything in the shared library is hidden unless it carries CPI_API.
#ifndef CPI_RUNTIME_EXPORT_H
#define CPI_RUNTIME_EXPORT_H

#if defined(STDDI_STATIC)
#define CPI_API
#else
#define CPI_API __attribute__((visibility("default")))
#endif

#endif  // CPI_RUNTIME_EXPORT_H
