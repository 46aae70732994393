// AC analysis: the frequency-sweep settings class and the small-signal analysis built on it.
#pragma once

#include "analyses/core/analysis_identity.h"

#include <cstdint>

/// Settings of a frequency sweep and the plot axes that go with it. Not an
/// analysis by itself: AC, distortion, noise and noise figure hold one by value.
class AcAnalysis {
public:
    enum Variation : int32_t { Decade = 0, Octave = 1, Linear = 2 };

    /// `main` is borrowed (may be null); it is only used to find the main analysis.
    explicit AcAnalysis(const Analyses* main = nullptr);
    AcAnalysis(const AcAnalysis&) = default;
    AcAnalysis& operator=(const AcAnalysis&) = default;

    // Virtual operations, in their fixed slot order; a derived settings class
    // may answer for another analysis kind.
    virtual void reset();
    virtual Analyses::AnalysisType GetType() const { return Analyses::AnalysisType::Ac; }
    virtual CString GetAnalysisNickname() const { return s_GetAnalysisNickname(); }
    virtual int GetNodeType() const { return AT_AC; }
    virtual int GetOutputVariableClass() const { return OVC_CKTnames; }
    virtual ~AcAnalysis() = default;

    static CString s_GetAnalysisNickname() { return AnalysisNickname(Analyses::AnalysisType::Ac); }

    Variation GetVariation() const { return variation_; }
    /// Also sets the horizontal (frequency) axis scale to match the sweep.
    void SetVariation(Variation v);
    double GetNpoints_per_variation() const { return npointsPerVariation_; }
    void SetNpoints_per_variation(double n) { npointsPerVariation_ = n; }
    /// Start and stop frequency in hertz; each also moves its end of the frequency axis.
    double GetFstart() const { return fstart_; }
    void SetFstart(double f);
    double GetFstop() const { return fstop_; }
    void SetFstop(double f);
    ScaleType GetScale(int axis) const { return scale_[axis]; }
    void SetScale(int axis, ScaleType s) { scale_[axis] = s; }
    CGrapherAxes& GetAxes() { return axes_; }
    const CGrapherAxes& GetAxes() const { return axes_; }

    /// "dec 10 1 1e+10 ": variation word, points, start, stop, each followed by a blank.
    CString GetACArguments() const;
    /// Scale and range options of the vertical axis and of the frequency axis.
    CString GetAxisCmd() const;
    /// The body of an AC run: axis options, then "ac  -env-options " and the sweep.
    CString toNutmegCommand() const;

    CPropertyList toPropertyList() const;
    /// Applies every known item; 0 when some label was unknown.
    int fromPropertyList(const CPropertyList& list);
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;
    /// Inserts the "Frequency Parameters" item and the axis lines under `parent`;
    /// returns the new item, or null when it could not be inserted.
    _TREEITEM* freqToReadableText(CTreeLog& log, _TREEITEM* parent) const;
    _TREEITEM* freqToReadableText(CTreeCtrl& ctrl, _TREEITEM* parent) const;

    const Analyses* GetMainAnalyses() const { return main_; }
    /// The sweep of the collection's analysis of this kind; null without a
    /// collection or when the collection has none.
    const AcAnalysis* GetMainAnalysis() const;
    /// Copies the main analysis's sweep into this object; 0 when there is none.
    int LoadFromMainAnalysis();

private:
    static std::span<const PropertyKeys::Key<AcAnalysis>> Keys();

    Variation variation_ = Decade;
    double npointsPerVariation_ = 10.0;
    double fstart_ = 1.0;
    double fstop_ = 1e10;
    const Analyses* main_ = nullptr;
    ScaleType scale_[4] = {ST_LOG, ST_NONE, ST_NONE, ST_LOG};
    CGrapherAxes axes_;
};

/// Small-signal AC analysis; also the base of distortion, noise and noise figure.
class Analyses::Ac : public AnalysisIdentity<Analyses::Ac, Analyses::AnalysisType::Ac> {
public:
    /// The default constructor resets like the others, so that every Ac starts
    /// with the machine's default maximum of plot points, not with 0.
    explicit Ac(const Analyses* main = nullptr);
    Ac(const Ac&) = default;
    Ac& operator=(const Ac&) = default;

    /// Number of Ac objects (derived ones included) alive right now.
    static int s_GetLiveCount() { return LiveCount::count; }

    // Kind and node classes come from the settings, which may answer for another kind.
    CString GetAnalysisNickname() const override { return ac_.GetAnalysisNickname(); }
    AnalysisType GetType() const override { return ac_.GetType(); }
    void reset() override;
    int GetNodeType() const override { return ac_.GetNodeType(); }
    int GetOutputVariableClass() const override { return ac_.GetOutputVariableClass(); }

protected:
    CString toNutmegCommandHelper() const override { return ac_.toNutmegCommand(); }
    CPropertyList toPropertyListHelper() const override { return ac_.toPropertyList(); }
    int fromPropertyListHelper(const CPropertyList& list) override {
        return ac_.fromPropertyList(list);
    }
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override {
        ac_.toReadableText(log, parent);
    }

public:
    virtual int LoadFromMainAnalysis() { return ac_.LoadFromMainAnalysis(); }

    AcAnalysis& GetAcAnalysis() { return ac_; }
    const AcAnalysis& GetAcAnalysis() const { return ac_; }

    AcAnalysis::Variation GetVariation() const { return ac_.GetVariation(); }
    void SetVariation(AcAnalysis::Variation v) { ac_.SetVariation(v); }
    double GetNpoints_per_variation() const { return ac_.GetNpoints_per_variation(); }
    void SetNpoints_per_variation(double n) { ac_.SetNpoints_per_variation(n); }
    double GetFstart() const { return ac_.GetFstart(); }
    void SetFstart(double f) { ac_.SetFstart(f); }
    double GetFstop() const { return ac_.GetFstop(); }
    void SetFstop(double f) { ac_.SetFstop(f); }
    CString GetAxisCmd() const { return ac_.GetAxisCmd(); }
    CString GetACArguments() const { return ac_.GetACArguments(); }
    _TREEITEM* freqToReadableText(CTreeLog& log, _TREEITEM* parent) const {
        return ac_.freqToReadableText(log, parent);
    }
    _TREEITEM* freqToReadableText(CTreeCtrl& ctrl, _TREEITEM* parent) const {
        return ac_.freqToReadableText(ctrl, parent);
    }

private:
    /// Counts itself in every construction, copies included, and out in its destructor.
    struct LiveCount {
        LiveCount() { ++count; }
        LiveCount(const LiveCount&) { ++count; }
        LiveCount& operator=(const LiveCount&) = default;
        ~LiveCount() { --count; }
        static inline int count = 0;
    };

    AcAnalysis ac_;
    [[no_unique_address]] LiveCount live_;
};

/// The "FREQ_OPT" key of the analyses built on Ac: their sweep as a nested
/// list. A value that is no list is skipped; a sweep that fails to read fails
/// the record.
template <class T> constexpr PropertyKeys::Key<T> FrequencySweepKey() {
    return {"FREQ_OPT",
            [](const T& a, const char* label, CPropertyList& list) {
                list.AddItem(CPropertyItem(label, a.GetAcAnalysis().toPropertyList()));
            },
            [](T& a, const CPropertyItem& item) {
                return item.GetTypeOfValue() != CPropertyItem::List ||
                       a.GetAcAnalysis().fromPropertyList(item.GetPropertyList()) != 0;
            }};
}
