// The abstract base of every analysis: common settings, command framing,
// persistence, readable text and the two validation questions.
#pragma once

#include "analyses/core/analyses.h"
#include "analyses/core/analysis_nodes.h"
#include "analyses/core/analysis_options.h"
#include "analyses/core/property_keys.h"
#include "canal/export.h"

#include <cstdint>

class CANAL_EXPORT Analyses::Analysis : public COrvo {
public:
    /// Bits selecting the pieces of a command script.
    enum NutmegType : long {
        NT_COMMAND = 1,     ///< the analysis' own command
        NT_IPLOT_FLAG = 2,  ///< passed to the plot set-up as its flag
        NT_PLOT_SETUP = 4,  ///< plot set-up and the raw-file write
        NT_POSTPROCESS = 8, ///< post-processing set-up
        NT_SCOPE = 16,      ///< begin-scope / end-scope framing
        NT_OPTIONS = 32,    ///< simulator option statements
    };
    /// Bits selecting the pieces of the readable text.
    enum TextType : long {
        TT_SETTINGS = 1,
        TT_OUTPUTS = 2,
        TT_COMMAND = 4,
        TT_OPTIONS = 8,
        TT_TITLE = 16,
        TT_NO_HEADING = 32,
    };

    Analysis();
    explicit Analysis(const Analyses* main);
    /// Copies every field; the copy's node set still names `other` until the
    /// concrete class's copy (AnalysisIdentity) binds it to the copy.
    Analysis(const Analysis& other) = default;
    Analysis& operator=(const Analysis& other) { return assign(other); }

    static Analysis* Conv(COrvo* p) {
        return p && p->GetOrvoType() == COrvo::Analysis ? static_cast<Analysis*>(p) : nullptr;
    }

    // Virtual operations, in their fixed slot order.
    ~Analysis() override;
    virtual int SameAsDefault() const;
    virtual CString GetMinPropertyList();
    virtual Analysis& assign(const Analysis& other);
    virtual CString GetAnalysisNickname() const = 0;
    virtual AnalysisType GetType() const = 0;
    virtual void reset();
    virtual void reset_for_instrument(int keep);
    virtual long GetAnalysisProperty() const;
    virtual Analysis* NewInstance() const = 0;
    virtual Analysis* Clone() const;
    virtual Analysis* Clone(Instance*& instance) const;
    virtual void ShowDialog(CWnd* parent, COkCancelSimulate::EditMode mode, int* a, int* b);
    virtual int GetNodeType() const = 0;
    virtual int GetOutputVariableClass() const = 0;
    virtual int CanAccept();
    virtual CString ExplainWhyCannotAccept();
    virtual int CanSimulate() const;
    virtual CString ExplainWhyCannotSimulate();
    virtual void UpdateAnalysisNodeList();
    virtual int KeepTrackOfCurrentsAtComponentTerminals();
    virtual long checkError();

protected:
    virtual long toReadableTextMask() const;
    virtual long toNutmegCommandMask() const;
    virtual CString toNutmegCommandHelper() const;
    virtual CPropertyList toPropertyListHelper() const;
    virtual int fromPropertyListHelper(const CPropertyList& list);
    virtual void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const;

public:
    /// The complete script selected by `mask` (NutmegType bits, -1 for all the
    /// analysis allows).
    CString toNutmegCommand(long mask) const;
    /// Label = nickname, value = the fixed list of common keys and "ANALYSIS".
    CPropertyItem toPropertyItem() const;
    /// Resets, then applies every good field; 0 when the label or value type is
    /// wrong, or when some field could not be applied.
    int fromPropertyItem(const CPropertyItem& item);
    _TREEITEM* toReadableText(CTreeLog& log, _TREEITEM* parent, long mask,
                              const char* prefix) const;
    _TREEITEM* toReadableText(CTreeCtrl& ctrl, _TREEITEM* parent, long mask,
                              const char* prefix) const;
    /// Non-virtual fallback for analyses without a main analysis to copy: returns 0.
    int LoadFromMainAnalysis();

    // Plain accessors.
    void SetMaxPoints(long n) { maxPoints_ = static_cast<int32_t>(n); }
    long GetMaxPoints() const { return maxPoints_; }
    void SetDiscardPlot(int v) { discardPlot_ = v; }
    int GetDiscardPlot() const { return discardPlot_; }
    void SetUseAnalysisOptions(int v) { useAnalysisOptions_ = v; }
    int GetUseAnalysisOptions() const { return useAnalysisOptions_; }
    void SetPlotTitle(const CString& t) { plotTitle_ = t; }
    const CString& GetPlotTitle() const { return plotTitle_; }
    void SetAnalysisRawfile(const CString& f) { rawFile_ = f; }
    const CString& GetAnalysisRawfile() const { return rawFile_; }
    void SetAnalysisReadableName(CString n) { readableName_ = std::move(n); }
    /// The readable name, or the default name of the analysis type when empty.
    CString GetAnalysisReadableName() const;
    /// Stores the identifier and resets the plot title to the readable name.
    void SetAnalysisIdentifier(int id);
    int GetAnalysisIdentifier() const { return identifier_; }
    int IncAnalysisIdentifier() { return ++identifier_; }
    void UseVeltraneDefaults(bool v) { useDefaultOptions_ = v; }
    bool IsUseVeltraneDefaults() const { return useDefaultOptions_; }
    AnalysisNodes& GetAnalysisNodes() { return nodes_; }
    const AnalysisNodes& GetAnalysisNodes() const { return nodes_; }
    const Analyses* GetMainAnalyses() const { return main_; }
    /// 0: custom set, 1: default set, 2: the set in force (follows IsUseVeltraneDefaults).
    AnalysisOptions& GetAnalysisOptions(int which);
    const AnalysisOptions& GetAnalysisOptions(int which) const;
    unsigned GetAcceptErrors() const { return acceptErrors_; }

    /// Default readable name of an analysis type ("---------------------------" for unknown).
    static CString s_GetDefaultReadableName(int type);
    /// Replaces a plot name reported by the simulator with the program's own text.
    static void ConvertXspiceAnalysisName(CString& name);
    /// "%.3f %s" of the engineering mantissa and prefixed unit ("s" when unit is null).
    static CString ConvertAnalysisToXAxisValue(int type, double value, const char* unit);
    /// Total physical memory / 512, capped at 128000.
    static long s_GetDefaultMaxPoints();

private:
    /// The common keys of the stored record, in their written order.
    static std::span<const PropertyKeys::Key<Analysis>> Keys();

    AnalysisNodes nodes_;
    const Analyses* main_ = nullptr;
    AnalysisOptions options_[2];
    int32_t maxPoints_ = 0;
    int discardPlot_ = 1;
    int useAnalysisOptions_ = 1;
    CString plotTitle_;
    int identifier_ = 0;
    CString readableName_;
    CString rawFile_;
    bool useDefaultOptions_ = true;
    uint32_t acceptErrors_ = 0; ///< bit 0: too few plot points, bit 1: tstep > tmax
};
