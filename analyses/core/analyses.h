// The analysis model's chief header: the common root, the collection scope
// with its enumerations, and the shared scale and output-class types.
#pragma once

#include "platform/cstring.h"
#include "platform/minmax.h"
#include "platform/property.h"
#include "platform/treelog.h"

#include <memory>
#include <vector>

class CWnd;     // settings user interface: not part of this library
class Instance; // component instance a clone may be bound to; unused here
class CASimulationEngine;

struct COkCancelSimulate {
    enum EditMode { Ok = 0, Cancel = 1, Simulate = 2 };
};

/// Common root of an analysis, an analysis proxy and the collection, so the
/// three can travel through one pointer type.
class COrvo {
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
class Analyses : public COrvo {
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

    /// The collection of one circuit: one new default analysis of every kind that has a
    /// class, created through the kind table, bound to this collection and owned by it; the
    /// two sweeps answer PSWEEP and TSWEEP. `engine` is borrowed (may be null: the static
    /// do-nothing engine) and must outlive its use here.
    explicit Analyses(CASimulationEngine* engine);
    /// The analyses point back at their collection, so it neither copies nor moves.
    Analyses(const Analyses&) = delete;
    Analyses& operator=(const Analyses&) = delete;
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

    /// The analysis of one kind held by this collection; null for Options (15),
    /// for values outside 0..18 and for kinds not registered.
    Analysis* GetAnalysis(AnalysisType type);
    const Analysis* GetAnalysis(AnalysisType type) const;

    /// The engine the analyses run on (borrowed; it must outlive its use
    /// here). Null installs the static do-nothing engine again, which is also
    /// what a new collection starts with.
    void SetAsimEng(CASimulationEngine* engine) { asimEng_ = engine; }
    /// Never null.
    CASimulationEngine* GetAsimEng() const;

    // The collection's own analyses by class; only on a collection built with every kind
    // (the engine constructor). Defined beside the kind table, in analyses/collection_kinds.cpp.
    Op& GetOp();
    Ac& GetAc();
    Tran& GetTran();
    Four& GetFour();
    Noise& GetNoise();
    Disto& GetDisto();
    DcSweep& GetDcSweep();
    Psweep& GetPsweep();
    Tsweep& GetTsweep();
    Pz& GetPz();
    Tf& GetTf();
    Sens& GetSens();
    User& GetUser();
    Run& GetRun();

protected:
    /// An empty table, for tests that register analyses of their own.
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

    // One owner per kind, in this order; null for kinds without a class yet.
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

    Analysis* byType_[AnalysisTypeCount] = {}; ///< GetAnalysis: the owned ones, or registered
    CASimulationEngine* asimEng_ = nullptr;    ///< null: the static do-nothing engine
};
