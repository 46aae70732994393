// The string table: every user-visible text, keyed by a numeric identifier.
//
// Texts live in the .def files beside this header, one per area, as
//   CANAL_RES(IDS_NAME, number, "text")
// Numbers are stable (they may be stored by hosts); each area keeps to its range:
//   platform.def 100-999, core.def 1000-1999, single_basic.def 2000-2999,
//   single_more.def 3000-3999, compound.def 4000-4999, host.def 5000-5999,
//   cli.def 6000-6999, engine.def 7000-7999.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"

// The tables in the order of their identifier ranges.
// clang-format off
enum ResourceId : unsigned {
#define CANAL_RES(name, id, text) name = id,
#include "platform/strings/platform.def"
#include "platform/strings/core.def"
#include "platform/strings/single_basic.def"
#include "platform/strings/single_more.def"
#include "platform/strings/compound.def"
#include "platform/strings/host.def"
#include "platform/strings/cli.def"
#include "platform/strings/engine.def"
#undef CANAL_RES
};
// clang-format on

/// The text of `id`; "" for an unknown identifier.
CANAL_EXPORT CString GetResourceString(unsigned id);
/// The same text without a copy; never null.
CANAL_EXPORT const char* GetResourceText(unsigned id);
