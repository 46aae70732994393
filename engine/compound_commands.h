// The compound requests the engine runs: keyword -> how to build, load and
// run the analysis, in the order the keywords are tried.
#pragma once

#include "analyses/core/analyses.h"
#include "canal/export.h"
#include "platform/cstring.h"
#include "platform/property.h"

#include <span>

class CASimulationEngine;

/// One compound request kind. `execute` builds the analysis on `analyses`
/// (borrowed, may be null), loads `record` into it, points the engine's
/// analysis event sink at it for the run (AnalysisSinkScope), runs it and
/// returns its result. The analysis lives only for the call.
struct CANAL_EXPORT CompoundCommand {
    const char* keyword; ///< compared case-sensitively
    int (*execute)(CASimulationEngine& engine, Analyses* analyses, const CPropertyList& record);
};

/// The table ExecuteCommand dispatches through, in the order keywords are tried.
CANAL_EXPORT std::span<const CompoundCommand> CompoundCommands();

/// Splits `command` into keyword and record and runs the first entry of `table`
/// whose keyword equals it. The keyword is the text up to the first blank after
/// leading white space; the rest, blank included, plus "\n" is the record's
/// text. Returns the entry's result; 0 when the command is blank or no keyword
/// matches. The engine's analysis event sink is null afterwards.
CANAL_EXPORT int DispatchCompoundCommand(std::span<const CompoundCommand> table,
                                         CASimulationEngine& engine, Analyses* analyses,
                                         const CString& command);
