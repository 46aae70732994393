// The table of analysis kinds: type, nickname, default readable name and factory of each kind.
#pragma once

#include "analyses/core/analyses.h"
#include "canal/export.h"

#include <span>
#include <string_view>

/// One analysis kind. Adding a kind means writing its class and filling its row.
struct CANAL_EXPORT AnalysisKind {
    Analyses::AnalysisType type;
    const char* nickname;  ///< label of the persisted item
    unsigned readableName; ///< resource id of the default readable name
    /// A new default analysis of the kind bound to `main` (borrowed, may be
    /// null); the caller owns it. Null for kinds without a class yet.
    Analyses::Analysis* (*create)(const Analyses* main);
};
/// A row as seen by callers that only read its type and nickname.
using AnalysisKindName = AnalysisKind;

/// Every kind in type order: row i has type i.
CANAL_EXPORT std::span<const AnalysisKind> AnalysisKinds();
/// The row of `type`; null outside the table.
CANAL_EXPORT const AnalysisKind* FindAnalysisKind(Analyses::AnalysisType type);
/// The row labelled `nickname` (exact, case-sensitive); null when there is none.
CANAL_EXPORT const AnalysisKind* FindAnalysisKind(std::string_view nickname);
/// The nickname of `type`; "" outside the table. Static storage.
CANAL_EXPORT const char* AnalysisNickname(Analyses::AnalysisType type);
