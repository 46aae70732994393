// Fourier analysis: harmonic content of node voltages from a transient run over two periods.
#pragma once

#include "analyses/single/tran.h"
#include "canal/export.h"

#include <cstdint>

class CANAL_EXPORT Analyses::Four
    : public AnalysisIdentity<Analyses::Four, Analyses::AnalysisType::Four> {
public:
    enum Plot : int32_t { Chart = 0, Graph = 1, GraphAndChart = 2 };

    explicit Four(const Analyses* main = nullptr);

    void reset() override;
    int GetNodeType() const override { return AT_TRAN; }
    int GetOutputVariableClass() const override { return OVC_DCnames; }
    /// Also needs a fundamental, a stop time (or the user's transient settings)
    /// and enough points per period.
    int CanSimulate() const override;
    CString ExplainWhyCannotSimulate() override;

    // Estimates of the fundamental from the circuit's sources (hertz), made by
    // the settings page; only stored and copied here.
    double GetLCMFreq() const { return lcmFreq_; }
    void SetLCMFreq(double f) { lcmFreq_ = f; }
    int GetLCMFreqSet() const { return lcmFreqSet_; }
    void SetLCMFreqSet(int v) { lcmFreqSet_ = v; }
    double GetGCDFreq() const { return gcdFreq_; }
    void SetGCDFreq(double f) { gcdFreq_ = f; }
    int GetGCDFreqSet() const { return gcdFreqSet_; }
    void SetGCDFreqSet(int v) { gcdFreqSet_ = v; }
    double GetFmax() const { return fmax_; }
    void SetFmax(double f) { fmax_ = f; }
    int GetFmaxSet() const { return fmaxSet_; }
    void SetFmaxSet(int v) { fmaxSet_ = v; }

    /// Fundamental frequency in hertz.
    double GetFundFreq() const { return fundFreq_; }
    void SetFundFreq(double f) { fundFreq_ = f; }
    int GetFundFreqSet() const { return fundFreqSet_; }
    void SetFundFreqSet(int v) { fundFreqSet_ = v; }
    /// Number of harmonics above the fundamental.
    int GetNumFreqs() const { return numFreqs_; }
    void SetNumFreqs(int n) { numFreqs_ = n; }
    /// Non-zero: run the transient settings as the user gave them.
    int GetUseTran() const { return useTran_; }
    void SetUseTran(int v) { useTran_ = v; }
    /// Stop time in seconds of the derived run.
    double GetTStop() const { return tstop_; }
    void SetTStop(double t) { tstop_ = t; }
    TranAnalysis& GetTran() { return tran_; }
    const TranAnalysis& GetTran() const { return tran_; }
    int GetUsePointsPerPeriod() const { return usePointsPerPeriod_; }
    void SetUsePointsPerPeriod(int v) { usePointsPerPeriod_ = v; }
    double GetPointsPerPeriod() const { return pointsPerPeriod_; }
    void SetPointsPerPeriod(double p) { pointsPerPeriod_ = p; }
    void SetPointsPerPeriodDefault() { pointsPerPeriod_ = 10.0; }
    int GetUseDegPoly() const { return useDegPoly_; }
    void SetUseDegPoly(int v) { useDegPoly_ = v; }
    int GetDegPoly() const { return degPoly_; }
    void SetDegPoly(int d) { degPoly_ = d; }
    /// Scale of the vertical axis of the spectrum.
    ScaleType GetVariation() const { return variation_; }
    void SetVariation(ScaleType s) { variation_ = s; }
    int GetDisplayPhase() const { return displayPhase_; }
    void SetDisplayPhase(int v) { displayPhase_ = v; }
    int GetLineGraph() const { return lineGraph_; }
    void SetLineGraph(int v) { lineGraph_ = v; }
    int GetNormalized() const { return normalized_; }
    void SetNormalized(int v) { normalized_ = v; }
    Plot GetPlot() const { return plot_; }
    void SetPlot(Plot p) { plot_ = p; }

    /// Size of the interpolation grid: the smallest power of two not below the
    /// number of samples in two periods.
    double GetGridSize() const;
    /// The transient settings the run uses: the user's, or ones derived from
    /// the fundamental (two periods ending at the stop time).
    TranAnalysis GetRunTran() const;

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<Four>> Keys();

protected:
    /// No plot set-up and no raw-file write: the fourier statement plots by itself.
    long toNutmegCommandMask() const override;
    CString toNutmegCommandHelper() const override;
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override;

private:
    /// The saved outputs, each followed by a blank; numeric node names as "V(n)".
    CString OutputList() const;

    int lcmFreqSet_ = 0;
    double lcmFreq_ = 0.0;
    int gcdFreqSet_ = 0;
    double gcdFreq_ = 0.0;
    int fmaxSet_ = 0;
    double fmax_ = 0.0;
    int32_t fundFreqSet_ = 0;
    double fundFreq_ = 1000.0;
    int32_t numFreqs_ = 9;
    int32_t useTran_ = 0;
    double tstop_ = 0.0;
    TranAnalysis tran_;
    int32_t usePointsPerPeriod_ = 0;
    double pointsPerPeriod_ = 10.0;
    int32_t useDegPoly_ = 0;
    int32_t degPoly_ = 1;
    ScaleType variation_ = ST_LIN;
    int32_t displayPhase_ = 0;
    int32_t lineGraph_ = 1;
    int32_t normalized_ = 0;
    Plot plot_ = GraphAndChart;
};
