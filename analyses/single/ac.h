// AC analysis: the frequency-sweep settings class and the small-signal analysis built on it.
#pragma once

#include "analyses/core/analysis_identity.h"
#include "canal/export.h"

#include <cstdint>

/// Settings of a frequency sweep and the plot axes that go with it. Not an
/// analysis by itself: AC, distortion, noise and noise figure hold one by value.
class CANAL_EXPORT AcAnalysis {
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

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<AcAnalysis>> Keys();

private:
    Variation variation_ = Decade;
    double npointsPerVariation_ = 10.0;
    double fstart_ = 1.0;
    double fstop_ = 1e10;
    const Analyses* main_ = nullptr;
    ScaleType scale_[4] = {ST_LOG, ST_NONE, ST_NONE, ST_LOG};
    CGrapherAxes axes_;
};

/// Small-signal AC analysis; also the base of distortion, noise and noise figure.
class CANAL_EXPORT Analyses::Ac
    : public SettingsAnalysis<Analyses::Ac, Analyses::AnalysisType::Ac, AcAnalysis> {
public:
    /// The default constructor resets like the others, so that every Ac starts
    /// with the machine's default maximum of plot points, not with 0.
    using SettingsAnalysis::SettingsAnalysis;

    /// Number of Ac objects (derived ones included) alive right now.
    static int s_GetLiveCount() { return LiveCount::count; }

    virtual int LoadFromMainAnalysis() { return GetSettings().LoadFromMainAnalysis(); }

    AcAnalysis& GetAcAnalysis() { return GetSettings(); }
    const AcAnalysis& GetAcAnalysis() const { return GetSettings(); }

    AcAnalysis::Variation GetVariation() const { return GetSettings().GetVariation(); }
    void SetVariation(AcAnalysis::Variation v) { GetSettings().SetVariation(v); }
    double GetNpoints_per_variation() const { return GetSettings().GetNpoints_per_variation(); }
    void SetNpoints_per_variation(double n) { GetSettings().SetNpoints_per_variation(n); }
    double GetFstart() const { return GetSettings().GetFstart(); }
    void SetFstart(double f) { GetSettings().SetFstart(f); }
    double GetFstop() const { return GetSettings().GetFstop(); }
    void SetFstop(double f) { GetSettings().SetFstop(f); }
    CString GetAxisCmd() const { return GetSettings().GetAxisCmd(); }
    CString GetACArguments() const { return GetSettings().GetACArguments(); }
    _TREEITEM* freqToReadableText(CTreeLog& log, _TREEITEM* parent) const {
        return GetSettings().freqToReadableText(log, parent);
    }
    _TREEITEM* freqToReadableText(CTreeCtrl& ctrl, _TREEITEM* parent) const {
        return GetSettings().freqToReadableText(ctrl, parent);
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
