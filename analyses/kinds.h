// The table of analysis kinds: type, nickname, default readable name and factory of each kind.
#pragma once

#include "analyses/core/analyses.h"

#include <span>
#include <string_view>

/// One analysis kind. Adding a kind means writing its class and filling its row.
struct AnalysisKind {
    Analyses::AnalysisType type;
    const char* nickname;  ///< label of the persisted item
    unsigned readableName; ///< resource id of the default readable name
    /// A new default analysis of the kind bound to `main` (borrowed, may be
    /// null); the caller owns it. Null for kinds without a class yet.
    Analyses::Analysis* (*create)(const Analyses* main);
};
/// The older name of a row, for callers that only read type and nickname.
using AnalysisKindName = AnalysisKind;

/// Every kind in type order: row i has type i.
std::span<const AnalysisKind> AnalysisKinds();
/// The row of `type`; null outside the table.
const AnalysisKind* FindAnalysisKind(Analyses::AnalysisType type);
/// The row labelled `nickname` (exact, case-sensitive); null when there is none.
const AnalysisKind* FindAnalysisKind(std::string_view nickname);
/// The nickname of `type`; "" outside the table. Static storage.
const char* AnalysisNickname(Analyses::AnalysisType type);
