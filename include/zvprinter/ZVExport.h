/// @file ZVExport.h
/// @brief Symbol visibility of the zvprinter library.
///
/// The shared library is built with hidden visibility; only declarations
/// marked ZV_EXPORT are part of its ABI.
#pragma once

#if defined(_WIN32)
#define ZV_EXPORT
#else
#define ZV_EXPORT __attribute__((visibility("default")))
#endif
