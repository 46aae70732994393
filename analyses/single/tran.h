// Transient analysis: the time-settings class and the time-domain analysis built on it.
#pragma once

#include "analyses/core/analysis_identity.h"
#include "canal/export.h"

#include <cstdint>

/// Time settings of a transient run (seconds) and its horizontal plot range.
/// Transient, Fourier, the sweeps and the statistical analyses hold one by value.
class CANAL_EXPORT TranAnalysis {
public:
    enum TMaxMode : int32_t { NotUsed = 0, Explicit = 1, Points = 2, Calculate = 3 };
    enum IC : int32_t { DcOp = 0, ZeroIc = 1, Uic = 2, AutoIc = 3 };

    /// `main` is borrowed (may be null); it is only used to find the main analysis.
    explicit TranAnalysis(const Analyses* main = nullptr);
    TranAnalysis(const TranAnalysis&) = default;
    TranAnalysis& operator=(const TranAnalysis&) = default;

    // Virtual operations, in their fixed slot order.
    virtual void reset();
    virtual void reset_for_instrument(int keep);
    virtual Analyses::AnalysisType GetType() const { return Analyses::AnalysisType::Tran; }
    virtual CString GetAnalysisNickname() const { return s_GetAnalysisNickname(); }
    virtual int GetNodeType() const { return AT_TRAN; }
    virtual int GetOutputVariableClass() const { return OVC_DCnames; }
    virtual ~TranAnalysis() = default;

    static CString s_GetAnalysisNickname() {
        return AnalysisNickname(Analyses::AnalysisType::Tran);
    }

    int GetCalc_tstep() const { return calcTstep_; }
    double GetTstep() const { return tstep_; }
    double GetTstop() const { return tstop_; }
    double GetTstart() const { return tstart_; }
    TMaxMode GetTmax_mode() const { return tmaxMode_; }
    double GetTmax() const { return tmax_; }
    double GetTpoints() const { return tpoints_; }
    IC GetIc() const { return ic_; }
    int GetUseAutoTmax() const { return useAutoTmax_; }
    double GetFixedStep() const { return fixedStep_; }
    int GetInstrument() const { return instrument_; }
    const CGrapherAxes& GetAxes() const { return axes_; }
    const Analyses* GetMainAnalyses() const { return main_; }

    void SetCalc_tstep(int v) { calcTstep_ = v; }
    void SetIc(IC ic) { ic_ = ic; }
    void SetUseAutoTmax(int v) { useAutoTmax_ = v; }
    /// `fixedStep` > 0 overrides every computed step in the command.
    void SetTmax_mode(TMaxMode mode, double fixedStep) {
        tmaxMode_ = mode;
        fixedStep_ = fixedStep;
    }
    /// Start and stop time; each also moves its end of the time axis.
    void SetTstart(double t);
    void SetTstop(double t);
    void SetTstep(double v, int alsoTmax, int recount);
    void SetTmax(double v, int alsoTstep, int recount);
    /// Stores at least 2 points; optionally derives tmax (and tstep) from the count.
    void SetTpoints(long n, int recomputeTmax, int alsoTstep);

    int KeepTrackOfCurrentsAtComponentTerminals() const { return keepTrackOfCurrents_; }
    void KeepTrackOfCurrentsAtComponentTerminals(int v) { keepTrackOfCurrents_ = v; }

    /// The body of a transient run: time-axis range, then "tran  -env-options ..." .
    CString toNutmegCommand() const;
    CPropertyList toPropertyList() const;
    /// Applies every known item; unknown labels are ignored, so the result is always 1.
    int fromPropertyList(const CPropertyList& list);
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;

    /// The settings of the collection's transient analysis; null without a
    /// collection or when it has none.
    const TranAnalysis* GetMainAnalysis() const;
    /// Copies the main analysis's settings into this object; 0 when there is none.
    int LoadFromMainAnalysis();

    /// Point count for a step over the current span, kept within [2, 2e9].
    long PointsForStep(double step) const;
    /// Step that divides the current span into `n` points.
    double StepForPoints(double n) const;
    /// The step written for the automatic cases (the "X" of the command).
    double CommandStep() const;

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<TranAnalysis>> Keys();

private:
    double Span() const { return tstop_ - tstart_; }

    int keepTrackOfCurrents_ = 0;
    const Analyses* main_ = nullptr;
    CGrapherAxes axes_;
    int calcTstep_ = 1;
    double tstep_ = 1e-5;
    double tstop_ = 0.001;
    int32_t tpoints_ = 99;
    double tstart_ = 0.0;
    TMaxMode tmaxMode_ = Calculate;
    double tmax_ = 1e-5;
    double fixedStep_ = -1.0;
    int instrument_ = 0;
    int useAutoTmax_ = 0;
    IC ic_ = AutoIc;
};

/// The time accessors of an analysis holding transient settings (reached
/// through `Derived::GetTranAnalysis()`), so that the transient analysis and
/// every analysis built on a transient run offer them under the same names.
template <class Derived> class CANAL_EXPORT TranAccessors {
public:
    int GetCalc_tstep() const { return tran().GetCalc_tstep(); }
    double GetTstep() const { return tran().GetTstep(); }
    double GetTstop() const { return tran().GetTstop(); }
    double GetTstart() const { return tran().GetTstart(); }
    TranAnalysis::TMaxMode GetTmax_mode() const { return tran().GetTmax_mode(); }
    double GetTmax() const { return tran().GetTmax(); }
    double GetTpoints() const { return tran().GetTpoints(); }
    TranAnalysis::IC GetIc() const { return tran().GetIc(); }
    void SetIc(TranAnalysis::IC ic) { tran().SetIc(ic); }
    void SetCalc_tstep(int v) { tran().SetCalc_tstep(v); }
    void SetTstop(double t) { tran().SetTstop(t); }
    void SetTstart(double t) { tran().SetTstart(t); }
    void SetTstep(double v, int alsoTmax, int recount) { tran().SetTstep(v, alsoTmax, recount); }
    void SetTmax(double v, int alsoTstep, int recount) { tran().SetTmax(v, alsoTstep, recount); }
    void SetTpoints(long n, int recomputeTmax, int alsoTstep) {
        tran().SetTpoints(n, recomputeTmax, alsoTstep);
    }
    void SetTmax_mode(TranAnalysis::TMaxMode mode, double fixedStep) {
        tran().SetTmax_mode(mode, fixedStep);
    }
    void SetUseAutoTmax(int v) { tran().SetUseAutoTmax(v); }
    int GetUseAutoTmax() const { return tran().GetUseAutoTmax(); }

private:
    TranAnalysis& tran() { return static_cast<Derived&>(*this).GetTranAnalysis(); }
    const TranAnalysis& tran() const {
        return static_cast<const Derived&>(*this).GetTranAnalysis();
    }
};

/// Time-domain analysis.
class CANAL_EXPORT Analyses::Tran
    : public SettingsAnalysis<Analyses::Tran, Analyses::AnalysisType::Tran, TranAnalysis>,
      public TranAccessors<Analyses::Tran> {
public:
    /// The default constructor resets like the others, so that every Tran
    /// starts with the machine's default maximum of plot points, not with 0.
    using SettingsAnalysis::SettingsAnalysis;

    /// The common settings are reset only when the transient ones are not kept.
    void reset_for_instrument(int keep) override;
    int KeepTrackOfCurrentsAtComponentTerminals() override {
        return GetSettings().KeepTrackOfCurrentsAtComponentTerminals();
    }
    /// The accept errors with bit 1 added when tmax is below tstep.
    long checkError() override;

    TranAnalysis& GetTranAnalysis() { return GetSettings(); }
    const TranAnalysis& GetTranAnalysis() const { return GetSettings(); }

    int LoadFromMainAnalysis() { return GetSettings().LoadFromMainAnalysis(); }
    const TranAnalysis* GetMainAnalysis() const { return GetSettings().GetMainAnalysis(); }
};
