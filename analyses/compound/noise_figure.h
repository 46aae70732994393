// Noise figure analysis: one noise run at one frequency and temperature, reduced to a figure in dB.
#pragma once

#include "analyses/single/ac.h"
#include "canal/export.h"
#include "engine/plot_event_sink.h"

#include <cstdint>

class CASimulationEngine;

/// The noise figure of the circuit between an input source and an output node
/// at one frequency. Its script is an "orvo NOISE_FIGURE" request; the engine
/// hands that back to ExecuteAnalysis, which runs the noise analysis of
/// toNutmegCommandSetup and picks the output and input-referred noise out of
/// the spectrum plot. The AC sweep it inherits is kept at the single point of
/// the frequency.
class CANAL_EXPORT Analyses::NoiseFigure
    : public AnalysisIdentity<Analyses::NoiseFigure, Analyses::AnalysisType::NoiseFigure,
                              Analyses::Ac>,
      public CPlotEventSink {
public:
    /// `main` (borrowed, may be null) is the collection; its engine runs the analysis.
    explicit NoiseFigure(const Analyses* main = nullptr);

    void reset() override;
    int GetNodeType() const override { return AT_NOISE; }
    /// The nodes are named in the settings, so no output variable must be chosen.
    int GetOutputVariableClass() const override { return OVC_ALL; }
    /// Copies the settings of the collection's noise figure analysis (not the
    /// AC analysis's sweep, which would undo the single point); 0 when there is none.
    int LoadFromMainAnalysis() override;
    /// The collection's noise figure analysis; null without a collection or when it has none.
    virtual const NoiseFigure* GetMainAnalysis() const;
    /// The noise run proper: "set temp=K ; noise  -env-options v(out[,ref]) src
    /// dec 10 F F ; set -temp".
    virtual CString toNutmegCommandSetup() const;
    /// Runs the set-up command on the collection's engine and reports the
    /// figure in a chart log "Noise Figure Results" on the engine's page.
    /// Returns 1 when a figure was computed, 0 when it could not be (a zero
    /// noise value, a failed simulator command, a stop, or no collection).
    virtual int ExecuteAnalysis();

    NodeFilter GetNodeFilterInputNoiseFigureRefSource() const { return filterInputSource_; }
    void SetNodeFilterInputNoiseFigureRefSource(NodeFilter f) { filterInputSource_ = f; }
    NodeFilter GetNodeFilterOutputNode() const { return filterOutputNode_; }
    void SetNodeFilterOutputNode(NodeFilter f) { filterOutputNode_ = f; }
    NodeFilter GetNodeFilterReferenceNode() const { return filterReferenceNode_; }
    void SetNodeFilterReferenceNode(NodeFilter f) { filterReferenceNode_ = f; }

    // The setters trim blanks at both ends; names read from a record are kept as stored.
    const CString& GetInputNoiseFigureRefSource() const { return inputSource_; }
    void SetInputNoiseFigureRefSource(CString s) { inputSource_ = s.Trim(); }
    const CString& GetOutputNode() const { return outputNode_; }
    void SetOutputNode(CString s) { outputNode_ = s.Trim(); }
    const CString& GetReferenceNode() const { return referenceNode_; }
    void SetReferenceNode(CString s) { referenceNode_ = s.Trim(); }

    /// Hertz. Also moves the AC sweep's start and stop there: one point.
    double GetFrequency() const { return frequency_; }
    void SetFrequency(double hz);
    /// Kelvin, as the simulator dialect's "set temp".
    double GetTemperature() const { return temperature_; }
    void SetTemperature(double kelvin) { temperature_ = kelvin; }

    /// What the last noise plot gave (V/sqrt(Hz) at the output, referred to
    /// the input source's unit at the input); 0 until a plot sets them.
    double GetOutputNoise() const { return outputNoise_; }
    double GetInputNoise() const { return inputNoise_; }
    /// The figure text ("20db") or the reason there is none, after ExecuteAnalysis.
    const CString& GetResultText() const { return resultText_; }

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<NoiseFigure>> Keys();

protected:
    /// Every part of the script, the plot set-up flag included.
    long toNutmegCommandMask() const override { return -1; }
    /// "orvo NOISE_FIGURE " + the settings record + "; ".
    CString toNutmegCommandHelper() const override;
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override;

private:
    friend int ExecuteNoiseFigureCommand(CASimulationEngine&, Analyses*, const CPropertyList&);

    /// A noise plot starts: forget earlier values and find the two spectra.
    int OUTpBeginPlot(const CSpiceArgs& args) override;
    int OUTpData(const CSpiceArgs& args) override;
    /// The plot's vector positions end with it, so rows of a later plot of
    /// another kind cannot land in the noise values.
    int OUTendPlot(const CSpiceArgs& args) override;

    NodeFilter filterInputSource_ = NF_NONE;
    NodeFilter filterOutputNode_ = NF_NONE;
    NodeFilter filterReferenceNode_ = NF_NONE;
    CString inputSource_;
    CString outputNode_;
    CString referenceNode_;
    double frequency_ = 1e9;
    double temperature_ = 300.15;
    double outputNoise_ = 0.0;
    double inputNoise_ = 0.0;
    int32_t outputIndex_ = -1;
    int32_t inputIndex_ = -1;
    CString resultText_;
};

/// The engine's "NOISE_FIGURE" request: a noise figure analysis on `analyses`
/// (borrowed, may be null) reads `record` and runs with its event sink set on
/// `engine`. Returns the analysis's result.
int ExecuteNoiseFigureCommand(CASimulationEngine& engine, Analyses* analyses,
                              const CPropertyList& record);
