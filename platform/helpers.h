// Small shared helpers: statement splitting, engineering notation, GCD/LCM of
// frequencies, ground-node naming and machine memory.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"

#include <cstdint>

/// Splits at ';' that stand outside braces and outside double quotes, so a
/// property record carried inside a command stays one statement. Pieces are
/// returned untrimmed, empty pieces included; `out` is replaced.
CANAL_EXPORT void DivideStringIntoStatements(const CString& text, CStringArray& out);

/// Splits `value` into an engineering mantissa and a prefixed unit:
/// 0.0015 with "s" gives 1.5 and "ms". `engineering` != 0 keeps exponents to
/// multiples of three; `usePrefix` != 0 writes the SI prefix (else "e-3" style).
CANAL_EXPORT void ExpandNumber(double value, const char* unit, double* mantissa,
                               CString* prefixedUnit, int engineering, int usePrefix);

/// Greatest common divisor and least common multiple of two frequencies (Hz),
/// with a relative tolerance so that 1000 and 1500.0000001 still give 500.
CANAL_EXPORT double GCD(double a, double b);
CANAL_EXPORT double LCM(double a, double b);

/// The name unchanged, or "$0" (the ground node) when it is empty.
CANAL_EXPORT CString ConvertNullToGround(const CString& name);

/// Total physical memory of the machine in bytes (0 when unknown).
CANAL_EXPORT uint64_t GetTotalPhysicalMemory();

struct CANAL_EXPORT MEMORYSTATUS {
    uint64_t dwTotalPhys = 0;
};
CANAL_EXPORT void GlobalMemoryStatus(MEMORYSTATUS* status);

/// Milliseconds since an arbitrary start, for throttling.
CANAL_EXPORT uint32_t GetTickCount();
