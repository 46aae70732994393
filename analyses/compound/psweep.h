// The parameter-sweep and temperature-sweep analyses: one ParameterSweep each, whose
// nickname decides which of the two kinds the object answers.
#pragma once

#include "analyses/compound/parameter_sweep.h"
#include "canal/export.h"

class CASimulationEngine;

/// Parameter sweep ("PSWEEP"). Its kind follows the sweep's nickname, so the same object
/// becomes a temperature sweep when the nickname is switched to "TSWEEP".
class CANAL_EXPORT Analyses::Psweep
    : public SettingsAnalysis<Analyses::Psweep, Analyses::AnalysisType::Psweep, ParameterSweep> {
public:
    /// `main` (borrowed, may be null) owns the copy the engine runs; nickname "PSWEEP".
    explicit Psweep(const Analyses* main = nullptr);

    ParameterSweep& GetParameterSweep() { return GetSettings(); }
    const ParameterSweep& GetParameterSweep() const { return GetSettings(); }
    /// Copies the settings of `source` into `target`, nested sweep included.
    static void CopyPsweep(ParameterSweep& target, const ParameterSweep& source);
    /// Why the sweep would run nothing useful; "" when it can run.
    CString GetError() const { return GetSettings().GetError(); }

    ParameterSweep::SweepType GetSweepType() const { return GetSettings().GetSweepType(); }
    void SetSweepType(ParameterSweep::SweepType t) { GetSettings().SetSweepType(t); }
    ParameterSweep::SweepAnalysisType GetSweepAnalysisType() const {
        return GetSettings().GetSweepAnalysisType();
    }
    void SetSweepAnalysisType(ParameterSweep::SweepAnalysisType t) {
        GetSettings().SetSweepAnalysisType(t);
    }
    CSPICEdevMember& GetMemberToSweep(ParameterSweep::SweepType t) {
        return GetSettings().GetMemberToSweep(t);
    }
    CSPICEparam& GetMemberParameterToSweep(ParameterSweep::SweepType t) {
        return GetSettings().GetMemberParameterToSweep(t);
    }
    SweepVariation& GetVariation() { return GetSettings().GetVariation(); }
    SweepVariation& GetSweepVariation(int type) { return GetSettings().GetSweepVariation(type); }
    AcAnalysis& GetAc() { return GetSettings().GetAc(); }
    TranAnalysis& GetTran() { return GetSettings().GetTran(); }
    int GetGroupAllTraces() const { return GetSettings().GetGroupAllTraces(); }
    void SetGroupAllTraces(int v) { GetSettings().SetGroupAllTraces(v); }
    ParameterSweep* GetNestedSweep() { return GetSettings().GetNestedSweep(); }
    CString GetXAxisUnitString() const { return GetSettings().GetXAxisUnitString(); }

    /// The engine's "psweep" request: runs a copy of `analyses`' parameter sweep (borrowed;
    /// 0 when null or without one) with `record` read over it, as the engine's event sink.
    static int s_ExecuteCommand(CASimulationEngine& engine, Analyses* analyses,
                                const CPropertyList& record);
};

/// Temperature sweep ("TSWEEP"): a parameter sweep under the other nickname.
class CANAL_EXPORT Analyses::Tsweep
    : public AnalysisIdentity<Analyses::Tsweep, Analyses::AnalysisType::Tsweep, Analyses::Psweep> {
public:
    explicit Tsweep(const Analyses* main = nullptr);

    // Like its base, the kind follows the nickname, not the class.
    CString GetAnalysisNickname() const override { return GetSettings().GetAnalysisNickname(); }
    AnalysisType GetType() const override { return GetSettings().GetType(); }

    /// The engine's "tsweep" request: as Psweep's, on the collection's temperature sweep.
    static int s_ExecuteCommand(CASimulationEngine& engine, Analyses* analyses,
                                const CPropertyList& record);
};
