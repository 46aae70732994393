// Creating analyses by kind or by nickname, for readers and tools that start from a label.
#pragma once

#include "analyses/core/analysis.h"
#include "analyses/kinds.h"
#include "canal/export.h"

// Defined beside the kind table (analyses/kinds.cpp), the one place that knows every class.

/// Kind and nickname of every analysis kind, in type order.
CANAL_EXPORT std::span<const AnalysisKindName> AnalysisKindNames();

/// A new default analysis of `type` bound to `main` (may be null); the caller
/// owns it. Null for Options and for kinds without a class yet.
CANAL_EXPORT Analyses::Analysis* NewAnalysisOfType(Analyses::AnalysisType type,
                                                   const Analyses* main);
/// The same, by nickname (exact, case-sensitive); null for an unknown
/// nickname and for "ORVO_OPT".
CANAL_EXPORT Analyses::Analysis* NewAnalysisByNickname(const CString& nickname,
                                                       const Analyses* main);
