// The analysis model's chief header: the common root, the collection scope
// with its enumerations, and the shared scale and output-class types.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"
#include "platform/minmax.h"
#include "platform/property.h"
#include "platform/random.h"
#include "platform/treelog.h"

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

class CWnd;     // settings user interface: not part of this library
class Instance; // component instance a clone may be bound to; unused here
class CASimulationEngine;
class SelectableAnalysisProxyList;

struct CANAL_EXPORT COkCancelSimulate {
    enum EditMode { Ok = 0, Cancel = 1, Simulate = 2 };
};

/// Common root of an analysis, an analysis proxy and the collection, so the
/// three can travel through one pointer type.
class CANAL_EXPORT COrvo {
public:
    enum Type : int { Analysis = 0, Proxy = 1, Collection = 2 };

    COrvo() = default;
    explicit COrvo(Type t) : type_(t) {}
    COrvo(const COrvo&) = default;
    COrvo& operator=(const COrvo&) = default;
    virtual ~COrvo() = default;

    Type GetOrvoType() const { return type_; }

private:
    Type type_ = Analysis;
};

/// Axis scale of a plot axis; 4 means "not set".
enum ScaleType : int { ST_LIN = 0, ST_LOG = 1, ST_DEC = 2, ST_OCT = 3, ST_NONE = 4 };

/// Which list of simulator output variables an analysis offers; also the index
/// of the engine's node lists.
enum OutputVariableClass : int {
    OVC_NONE = 0,
    OVC_CKTnames = 1,
    OVC_DCnames = 2,
    OVC_SENS_CKTnames_op = 3,
    OVC_SENS_CKTnames_ac = 4,
    OVC_NOISE_CKTnames_dens = 5,
    OVC_NOISE_CKTnames_int = 6,
    OVC_ALL = 7,
};

/// The set of all analyses of one circuit, and the scope of every analysis
/// class (Analyses::Ac, Analyses::Tran, ...).
class CANAL_EXPORT Analyses : public COrvo {
public:
    /// Scoped, because the analysis classes carry the same words (Analyses::Op is
    /// the class, Analyses::AnalysisType::Op its kind).
    enum class AnalysisType : int {
        Op = 0,
        Ac = 1,
        Tran = 2,
        Four = 3,
        Noise = 4,
        Disto = 5,
        DcSweep = 6,
        Psweep = 7,
        Tsweep = 8,
        Pz = 9,
        Tf = 10,
        Sens = 11,
        Worst = 12,
        Monte = 13,
        User = 14,
        Options = 15,
        Run = 16,
        TraceWidth = 17,
        NoiseFigure = 18,
    };
    static constexpr int AnalysisTypeCount = 19;

    /// Bit set of node kinds used to filter output variables and node choosers.
    enum NodeFilter : int {
        NF_NONE = 0,
        NF_VOLTAGES = 1,
        NF_CURRENTS = 2,
        NF_SOURCES = 4,
        NF_DEVICES = 8,
        NF_PARAMETERS = 16,
        NF_ALL = 31,
    };

    class Analysis;
    class AnalysisNodes;
    class AnalysisProxy;
    class Op;
    class Ac;
    class Tran;
    class Four;
    class Noise;
    class Disto;
    class DcSweep;
    class Psweep;
    class Tsweep;
    class Pz;
    class Tf;
    class Sens;
    class Worst;
    class Monte;
    class User;
    class Run;
    class TraceWidth;
    class NoiseFigure;

    /// The collection of one circuit: one new default analysis of every kind but Options,
    /// created through the kind table, bound to this collection and owned by it; the two
    /// sweeps answer PSWEEP and TSWEEP. Selection -1, identifier 1, an empty run list and
    /// 211 random streams taken from the seed sequence in order (set the master seed first to
    /// repeat them). `engine` is borrowed (may be null: the static do-nothing engine) and must
    /// outlive its use here.
    explicit Analyses(CASimulationEngine* engine);
    /// A copy whose analyses and run-list entries are new objects bound to the copy, each
    /// read from its source's record (the model's way of copying an analysis) with the
    /// identifier and plot title kept; selection, numbering, max points, engine and the
    /// random streams' states come along.
    Analyses(const Analyses& other);
    /// The same copy; the instance is not used.
    Analyses(const Analyses& other, Instance* instance);
    /// Selection, identifier, engine and random streams of `other`, and copies of only the
    /// analysis of `type` and those it depends on (the rows of resetAll); User copies the
    /// user-defined analysis, Run the direct run alone, as it runs the circuit's own
    /// analyses and needs none of these. The other kinds stay empty (GetAnalysis null),
    /// and so does the run list.
    Analyses(const Analyses& other, Instance* instance, AnalysisType type);
    /// Copies everything as the copy constructor does. Analyses of this collection whose
    /// kind `other` also holds are assigned in place, so pointers to them stay valid.
    Analyses& operator=(const Analyses& other);
    ~Analyses() override;

    static Analyses* Conv(COrvo* p) {
        return p && p->GetOrvoType() == COrvo::Collection ? static_cast<Analyses*>(p) : nullptr;
    }

    /// A new default analysis by nickname (exact), owned by the caller; null
    /// for an unknown nickname and for "ORVO_OPT". Same as the factory's
    /// NewAnalysisByNickname, for callers that prefer an owning handle.
    static std::unique_ptr<Analysis> NewAnalysisByNickname(const CString& nickname,
                                                           const Analyses* main = nullptr);
    /// The nicknames of all kinds, in type order (including "ORVO_OPT").
    static std::vector<CString> AnalysisNicknames();
    /// "ANALYSES", the label of the stored set.
    static CString s_GetPropertyLabel();

    /// The analysis of one kind held by this collection; null for Options (15),
    /// for values outside 0..18 and for kinds not held.
    Analysis* GetAnalysis(AnalysisType type);
    const Analysis* GetAnalysis(AnalysisType type) const;

    /// The engine the analyses run on (borrowed; it must outlive its use
    /// here). Null installs the static do-nothing engine again, which is also
    /// what a new collection starts with.
    void SetAsimEng(CASimulationEngine* engine) { asimEng_ = engine; }
    /// Never null.
    CASimulationEngine* GetAsimEng() const;

    // The collection's own analyses by class; only for kinds it holds (a collection built
    // with the engine constructor holds all). Defined beside the kind table, in
    // analyses/collection_kinds.cpp.
    Op& GetOp();
    Ac& GetAc();
    Tran& GetTran();
    Four& GetFour();
    Noise& GetNoise();
    Disto& GetDisto();
    DcSweep& GetDcSweep();
    Psweep& GetPsweep();
    TraceWidth& GetTraceWidth();
    NoiseFigure& GetNoiseFigure();
    Tsweep& GetTsweep();
    Pz& GetPz();
    Tf& GetTf();
    Sens& GetSens();
    Worst& GetWorst();
    Monte& GetMonte();
    User& GetUser();
    Run& GetRun();

    /// Which run-list entry the user picked; -1 for none. Stored as "USE".
    void SetSelection(int selection) { selection_ = selection; }
    int GetSelection() const { return selection_; }
    /// The last identifier handed to a run. Stored as "CURRENT_ID".
    int IncrementCurrentIdentifier() { return ++currentIdentifier_; }
    int GetCurrentIdentifier() const { return currentIdentifier_; }
    void SetCurrentIdentifier(int id) { currentIdentifier_ = id; }
    /// The plot-point limit of the set, back at Analysis::s_GetDefaultMaxPoints() on every
    /// resetAll.
    long GetMaxPoints() const { return maxPoints_; }
    void SetMaxPoints(long n) { maxPoints_ = static_cast<int32_t>(n); }

    /// The run list: the analyses put up to run, each an owning proxy with a selection
    /// flag. Owned here, never null.
    SelectableAnalysisProxyList& GetAnalysisList() { return *runList_; }
    const SelectableAnalysisProxyList& GetAnalysisList() const { return *runList_; }

    /// Stream n + 10 of the 211 the statistical analyses draw from; n runs from -10 to 200
    /// and is clamped to that range. Streams made before the last Random::SetMasterSeed are
    /// all made again from the new sequence first, so one seed always gives the same draws.
    Random& GetRandStream(int n);

    /// Resets the selection to -1, the analyses of `type`'s row in their order (-1 and Run:
    /// all but User; User: the direct run, never User itself; Options and unknown values:
    /// none), then empties the run list, sets the identifier to 1 and max points to the
    /// default. Kinds this collection does not hold are skipped.
    void resetAll(AnalysisType type);
    /// Asks the engine for its node lists once, then updates every run-list entry with the
    /// engine's own updates locked, so that the entries do not each rebuild them.
    void UpdateAnalysisNodeList();
    void updateNodeLists() { UpdateAnalysisNodeList(); }
    /// The raw file of the next identifier: increments the identifier and asks the engine
    /// for that identifier's name ("____N.raw").
    CString GetAllocFile();

    /// "ANALYSIS_LIST": every run-list entry's record, in run-list order (the selection
    /// flags are not stored).
    CPropertyItem toPropertyItemRun() const;
    /// "ANALYSES": the run list, "USE", "CURRENT_ID", then every analysis held, in the
    /// order Op, Ac, Tran, Four, Noise, Disto, Psweep, Tsweep, Pz, Tf, DcSweep, Sens, Worst,
    /// Monte, User, Run, TraceWidth, NoiseFigure.
    CPropertyItem toPropertyItem() const;
    /// Resets everything, then applies every field of an "ANALYSES" item: the run list
    /// (renumbered with fresh raw files when `renumber` is non-zero), "USE", "CURRENT_ID",
    /// and each stored analysis by its label. A second "PSWEEP" without a "TSWEEP" between
    /// (or a "TSWEEP" before any "PSWEEP") is read all the same but counts as not taken.
    /// 0 when the label or value type is wrong, or when some field was not taken; the other
    /// fields are applied still.
    int fromPropertyItem(const CPropertyItem& item, int renumber);
    /// Like fromPropertyItem, but applies only the run list, "USE" and "CURRENT_ID": stored
    /// analyses make the result 0 and stay unread.
    int InitFromPropertyItem(const CPropertyItem& item, int renumber);
    /// Replaces an "ANALYSES" item by one that keeps only the stored analyses of the kinds in
    /// `types` (kinds this collection does not hold are ignored), in their order; the run
    /// list, "USE" and "CURRENT_ID" go. 0, and `item` unchanged, when it is not an
    /// "ANALYSES" list.
    int FilterProperties(CPropertyItem& item, std::span<const int> types) const;

    /// Every run-list entry's readable text under `parent`, a heading per entry, in order.
    /// Returns `parent`.
    _TREEITEM* toReadableText(CTreeLog& log, _TREEITEM* parent) const;
    _TREEITEM* toReadableText(CTreeCtrl& ctrl, _TREEITEM* parent) const;

    /// Names to analyses, for pickers: every analysis held, under its nickname (the name
    /// stored items and the tool use). The analyses stay owned here.
    using CMapStringToPtr = std::map<CString, Analysis*>;
    void GetNameMap(CMapStringToPtr& map);

protected:
    /// An empty table (no analyses, an empty run list), for tests that register analyses
    /// of their own.
    Analyses();
    /// Makes `a` the collection's analysis of `type` (not owned here).
    void RegisterAnalysis(AnalysisType type, Analysis* a);

private:
    /// The owning field of each kind, in field order.
    struct OwnedKind {
        AnalysisType type;
        std::unique_ptr<Analysis> Analyses::*field;
    };
    static const OwnedKind kOwnedKinds[AnalysisTypeCount - 1];
    static constexpr int kRandStreamCount = 211;
    static constexpr int kRandStreamOffset = 10;

    /// Copies into this collection's slot of each kind in `kinds` the analysis `other`
    /// holds of that kind (or empties the slot when it holds none).
    void CopyAnalyses(const Analyses& other, std::span<const AnalysisType> kinds);
    void CopyRunList(const Analyses& other);
    void MakeRandStreams();
    /// Reads an "ANALYSIS_LIST" item into the run list; 0 when it is none, or when some
    /// entry could not be read (the others are appended still).
    int fromPropertyItemList(const CPropertyItem& item, int renumber);
    /// Applies a field of the stored set that belongs to the run set: the run list, "USE"
    /// or "CURRENT_ID" with the right value type. False when it is none of these.
    bool TakeRunSetField(const CPropertyItem& field, int renumber);

    // One owner per kind, in this order; null for kinds not held.
    std::unique_ptr<Analysis> op_;
    std::unique_ptr<Analysis> ac_;
    std::unique_ptr<Analysis> tran_;
    std::unique_ptr<Analysis> four_;
    std::unique_ptr<Analysis> noise_;
    std::unique_ptr<Analysis> disto_;
    std::unique_ptr<Analysis> dcSweep_;
    std::unique_ptr<Analysis> psweep_;
    std::unique_ptr<Analysis> traceWidth_;
    std::unique_ptr<Analysis> noiseFigure_;
    std::unique_ptr<Analysis> tsweep_;
    std::unique_ptr<Analysis> pz_;
    std::unique_ptr<Analysis> tf_;
    std::unique_ptr<Analysis> sens_;
    std::unique_ptr<Analysis> worst_;
    std::unique_ptr<Analysis> monte_;
    std::unique_ptr<Analysis> user_;
    std::unique_ptr<Analysis> run_;

    int selection_ = -1;
    int currentIdentifier_ = 1;
    int32_t maxPoints_ = 0;
    std::unique_ptr<SelectableAnalysisProxyList> runList_;
    CASimulationEngine* asimEng_ = nullptr; ///< null: the static do-nothing engine
    int spareIndex_ = -1;                   ///< -1 from every constructor; nothing reads it
    /// On the heap: 211 generator states are half a megabyte.
    std::vector<Random> randStreams_;
    uint64_t randGeneration_ = 0; ///< the master seed the streams were made under

    Analysis* byType_[AnalysisTypeCount] = {}; ///< GetAnalysis: the owned ones, or registered
};
