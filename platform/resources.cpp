// The string table, built from the .def files that also give the identifiers.
#include "platform/resources.h"

const char* GetResourceText(unsigned id) {
    // A switch lets the compiler pick the lookup, and refuses duplicate numbers.
    switch (id) {
#define CANAL_RES(name, number, text)                                                              \
    case number:                                                                                   \
        return text;
#include "platform/strings/cli.def"
#include "platform/strings/compound.def"
#include "platform/strings/core.def"
#include "platform/strings/engine.def"
#include "platform/strings/host.def"
#include "platform/strings/platform.def"
#include "platform/strings/single_basic.def"
#include "platform/strings/single_more.def"
#undef CANAL_RES
    default:
        return "";
    }
}

CString GetResourceString(unsigned id) {
    return CString(GetResourceText(id));
}
