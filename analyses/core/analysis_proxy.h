// A handle to one analysis of any kind, owning a copy of it or borrowing it.
#pragma once

#include "analyses/core/analysis.h"
#include "canal/export.h"
#include "platform/lists.h"

class CANAL_EXPORT Analyses::AnalysisProxy : public COrvo {
public:
    AnalysisProxy();
    /// With `own` non-zero the proxy keeps and owns `a->Clone()`; with 0 it
    /// borrows `a` itself, which must outlive the proxy.
    AnalysisProxy(Analyses::Analysis* a, int own);
    /// Copying an owning proxy copies its analysis; a borrowing proxy shares it.
    AnalysisProxy(const AnalysisProxy& other);
    AnalysisProxy(const AnalysisProxy& other, Instance*& instance);
    AnalysisProxy& operator=(const AnalysisProxy& other);

    static AnalysisProxy* Conv(COrvo* p) {
        return p && p->GetOrvoType() == COrvo::Proxy ? static_cast<AnalysisProxy*>(p) : nullptr;
    }

    // Virtual operations, in their fixed slot order; each forwards to the analysis.
    ~AnalysisProxy() override;
    virtual void reset_for_instrument(int keep);
    virtual int CanSimulate() const;
    virtual CString ExplainWhyCannotSimulate();
    virtual void UpdateAnalysisNodeList();

    bool IsEmpty() const { return analysis_ == nullptr; }
    Analyses::Analysis* GetAnalysisPtr() { return analysis_; }
    const Analyses::Analysis* GetAnalysisPtr() const { return analysis_; }
    int GetOwnerFlag() const { return owner_; }
    void SetTstep(double t) { tstep_ = t; }
    double GetTstep() const { return tstep_; }

    /// Replaces the held analysis; the old one is deleted when owned and not `a` itself.
    void SetAnalysisProxy(Analyses::Analysis* a, int own);
    /// Holds a new default analysis of `type` bound to `main`; Options and
    /// unknown kinds change nothing.
    void SetType(AnalysisType type, Analyses* main);

    // The analysis cast to its class when its type is that class' kind, else null.
    Op* GetOpPtr();
    const Op* GetOpPtr() const;
    Ac* GetAcPtr();
    const Ac* GetAcPtr() const;
    Tran* GetTranPtr();
    const Tran* GetTranPtr() const;
    Four* GetFourPtr();
    const Four* GetFourPtr() const;
    Noise* GetNoisePtr();
    const Noise* GetNoisePtr() const;
    Disto* GetDistoPtr();
    const Disto* GetDistoPtr() const;
    DcSweep* GetDcSweepPtr();
    const DcSweep* GetDcSweepPtr() const;
    Sens* GetSensPtr();
    const Sens* GetSensPtr() const;
    Pz* GetPzPtr();
    const Pz* GetPzPtr() const;
    Tf* GetTfPtr();
    const Tf* GetTfPtr() const;
    Worst* GetWorstPtr();
    const Worst* GetWorstPtr() const;
    Monte* GetMontePtr();
    const Monte* GetMontePtr() const;
    User* GetUserPtr();
    const User* GetUserPtr() const;
    Run* GetRunPtr();
    const Run* GetRunPtr() const;
    NoiseFigure* GetNoiseFigurePtr();
    const NoiseFigure* GetNoiseFigurePtr() const;
    TraceWidth* GetTraceWidthPtr();
    const TraceWidth* GetTraceWidthPtr() const;
    /// The held sweep while it answers Psweep, else null.
    Psweep* GetPsweepPtr();
    const Psweep* GetPsweepPtr() const;
    /// The held sweep while it answers Tsweep, else null. A temperature sweep may be a
    /// Psweep object whose nickname was switched (SetAnalysisNickname), hence the class.
    Psweep* GetTsweepPtr();
    const Psweep* GetTsweepPtr() const;

    // Forwarders; an empty proxy answers neutral values and changes nothing.
    AnalysisType GetType() const;
    CString GetAnalysisNickname() const;
    void SetAnalysisIdentifier(int id);
    long GetAnalysisProperty() const;
    void SetAnalysisRawfile(const CString& f);
    CString GetAnalysisRawfile() const;
    void SetAnalysisReadableName(const CString& n);
    CString GetAnalysisReadableName() const;
    void SetPlotTitle(const CString& t);
    CString GetPlotTitle() const;
    void SetUseAnalysisOptions(int v);
    int GetUseAnalysisOptions() const;
    /// The option set in force; the analysis must exist.
    AnalysisOptions& GetAnalysisOptions();
    /// Copies the frequency or time settings of the collection's main analysis
    /// into the held analysis, for the kinds that share them; 0 otherwise.
    int LoadFromMainAnalysis();
    const Analyses* GetMainAnalyses() const;
    /// The analysis' node set; the analysis must exist.
    AnalysisNodes& GetAnalysisNodes();
    void reset();
    CString toNutmegCommand(long mask) const;
    CPropertyItem toPropertyItem() const;
    _TREEITEM* toReadableText(CTreeLog& log, _TREEITEM* parent, long mask,
                              const char* prefix) const;
    _TREEITEM* toReadableText(CTreeCtrl& ctrl, _TREEITEM* parent, long mask,
                              const char* prefix) const;
    void ShowDialog(CWnd* parent, COkCancelSimulate::EditMode mode, int* a, int* b);

    /// For a held transient analysis: whether the collection's transient
    /// analysis estimates its maximum step automatically ("USE_AUTO_TIME_STEP");
    /// 0 for other kinds and without a collection.
    int GetUseTStep();

    /// 1 when an analysis is held and it is at its defaults.
    int SameAsDefault() const;
    AnalysisProxy* Clone() const { return nullptr; }
    AnalysisProxy* Clone(Instance*&) const { return nullptr; }

    /// Turns a held sweep into a parameter sweep (Psweep) or a temperature sweep (Tsweep) by
    /// its nickname. To PSWEEP: an inner transient becomes an operating point. To TSWEEP: any
    /// other inner analysis becomes a transient. Either change drops the nested sweep. Other
    /// kinds, and proxies without a sweep, are left alone.
    void SetAnalysisNickname(AnalysisType type);

    /// Marks the held analysis as edited since it was read or created, for the settings
    /// pages and hosts that save a set only when something changed. SetType,
    /// SetAnalysisProxy and fromPropertyItem clear the mark; copies keep it.
    void SetChange() { changed_ = 1; }
    int GetChange() const { return changed_; }

    /// Creates the analysis whose nickname is the item's label, bound to `main`,
    /// and lets it read the item. 0 when `main` is null, the value is not a
    /// list, the label names no known kind, or the analysis' reader fails.
    int fromPropertyItem(const CPropertyItem& item, const Analyses* main);

private:
    Analyses::Analysis* analysis_ = nullptr;
    int owner_ = 0;
    double tstep_ = 1e-05;
    int changed_ = 0;
};

/// A run-list entry: an analysis put up to run, and whether the user selected it.
struct CANAL_EXPORT SelectableAnalysisProxy {
    int selected = 1;
    Analyses::AnalysisProxy proxy;
};

/// The collection's run list: a locked list of entries, each owning its proxy.
class CANAL_EXPORT SelectableAnalysisProxyList : public CopiableSList<SelectableAnalysisProxy> {
public:
    /// Appends a copy of `proxy` (an owning proxy's analysis is copied too).
    SelectableAnalysisProxy& AddProxy(const Analyses::AnalysisProxy& proxy, int selected = 1) {
        return Add(SelectableAnalysisProxy{selected, proxy});
    }
};
