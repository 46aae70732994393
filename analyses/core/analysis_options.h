// Simulator options an analysis passes before its command: a fixed table of
// 38 options, each with a typed value and an enabled flag.
#pragma once

#include "analyses/core/analyses.h"
#include "analyses/kinds.h"
#include "canal/export.h"

class CANAL_EXPORT AnalysisOptions {
public:
    enum Option : int {
        acct = 0,
        gmin,
        reltol,
        abstol,
        vntol,
        trtol,
        chgtol,
        pivtol,
        pivrel,
        tnom,
        itl1,
        itl2,
        itl4,
        defl,
        defw,
        defad,
        defas,
        bypass,
        maxord,
        temp,
        oldlimit,
        itl6,
        gminsteps,
        minbreak,
        noopiter,
        method,
        trytocompact,
        badmos3,
        keepopinfo,
        noopalter,
        ramptime,
        maxevtiter,
        maxopalter,
        convlimit,
        convabsstep,
        convstep,
        autopartial,
        rshunt,
        OptionCount // 38
    };

    AnalysisOptions();
    AnalysisOptions(const AnalysisOptions&) = default;
    AnalysisOptions& operator=(const AnalysisOptions&) = default;
    bool operator==(const AnalysisOptions& o) const;
    ~AnalysisOptions() = default;

    void reset();
    void reset(Option o);
    CPropertyItem GetOption(Option o) const;
    static CPropertyItem GetDefaultOption(Option o);
    /// Description text of an option ("" for an index of 38 or more).
    static CString GetOptionDescription(Option o);
    /// Taken only when the label is the option's name and the type text matches.
    void SetOption(Option o, const CPropertyItem& item);
    int GetIsEnabledOption(Option o) const;
    void SetIsEnabledOption(Option o, int enabled);
    /// Index of the option called `name` (OptionCount when none), its item in `out`.
    Option FindIndexItem(CString name, CPropertyItem& out) const;

    /// "; set NAME = V" for every enabled option, in index order; "" when none is.
    CString toNutmegCommand() const;
    CPropertyList toPropertyList() const;
    CPropertyList toPropertyListForChg() const;
    int fromPropertyList(const CPropertyList& list);
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;

    Analyses::AnalysisType GetType() const { return Analyses::AnalysisType::Options; }
    long GetAnalysisProperty() const { return -1; }
    static CString s_GetAnalysisNickname() {
        return AnalysisNickname(Analyses::AnalysisType::Options);
    }
    CString GetAnalysisNickname() const { return s_GetAnalysisNickname(); }
    void ShowDialog(CWnd*, COkCancelSimulate::EditMode, int*, int*) {}

private:
    CPropertyItem values_[OptionCount];
    int enabled_[OptionCount] = {};
};
