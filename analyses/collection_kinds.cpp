// The collection's own analyses: one of every kind, created through the kind table in field
// order, and the accessors by class.
#include "analyses/core/analyses.h"

#include "analyses/compound/noise_figure.h"
#include "analyses/compound/psweep.h"
#include "analyses/compound/trace_width.h"
#include "analyses/compound/wcmc_analysis.h"
#include "analyses/kinds.h"
#include "analyses/single/ac.h"
#include "analyses/single/dc_sweep.h"
#include "analyses/single/disto.h"
#include "analyses/single/four.h"
#include "analyses/single/noise.h"
#include "analyses/single/op.h"
#include "analyses/single/pz.h"
#include "analyses/single/run.h"
#include "analyses/single/sens.h"
#include "analyses/single/tf.h"
#include "analyses/single/tran.h"
#include "analyses/single/user.h"

using T = Analyses::AnalysisType;

const Analyses::OwnedKind Analyses::kOwnedKinds[AnalysisTypeCount - 1] = {
    {T::Op, &Analyses::op_},
    {T::Ac, &Analyses::ac_},
    {T::Tran, &Analyses::tran_},
    {T::Four, &Analyses::four_},
    {T::Noise, &Analyses::noise_},
    {T::Disto, &Analyses::disto_},
    {T::DcSweep, &Analyses::dcSweep_},
    {T::Psweep, &Analyses::psweep_},
    {T::TraceWidth, &Analyses::traceWidth_},
    {T::NoiseFigure, &Analyses::noiseFigure_},
    {T::Tsweep, &Analyses::tsweep_},
    {T::Pz, &Analyses::pz_},
    {T::Tf, &Analyses::tf_},
    {T::Sens, &Analyses::sens_},
    {T::Worst, &Analyses::worst_},
    {T::Monte, &Analyses::monte_},
    {T::User, &Analyses::user_},
    {T::Run, &Analyses::run_},
};

Analyses::Analyses(CASimulationEngine* engine) : Analyses() {
    asimEng_ = engine;
    for (const OwnedKind& kind : kOwnedKinds) {
        const AnalysisKind* row = FindAnalysisKind(kind.type);
        std::unique_ptr<Analysis>& owner = this->*kind.field;
        owner.reset(row && row->create ? row->create(this) : nullptr);
        RegisterAnalysis(kind.type, owner.get());
    }
    GetPsweep().GetParameterSweep().SetNickName(AnalysisNickname(T::Psweep));
    GetTsweep().GetParameterSweep().SetNickName(AnalysisNickname(T::Tsweep));
    resetAll(static_cast<AnalysisType>(-1));
}

// Each owner holds the class its kind-table row creates.
Analyses::Op& Analyses::GetOp() {
    return static_cast<Op&>(*op_);
}
Analyses::Ac& Analyses::GetAc() {
    return static_cast<Ac&>(*ac_);
}
Analyses::Tran& Analyses::GetTran() {
    return static_cast<Tran&>(*tran_);
}
Analyses::Four& Analyses::GetFour() {
    return static_cast<Four&>(*four_);
}
Analyses::Noise& Analyses::GetNoise() {
    return static_cast<Noise&>(*noise_);
}
Analyses::Disto& Analyses::GetDisto() {
    return static_cast<Disto&>(*disto_);
}
Analyses::DcSweep& Analyses::GetDcSweep() {
    return static_cast<DcSweep&>(*dcSweep_);
}
Analyses::Psweep& Analyses::GetPsweep() {
    return static_cast<Psweep&>(*psweep_);
}
Analyses::TraceWidth& Analyses::GetTraceWidth() {
    return static_cast<TraceWidth&>(*traceWidth_);
}
Analyses::NoiseFigure& Analyses::GetNoiseFigure() {
    return static_cast<NoiseFigure&>(*noiseFigure_);
}
Analyses::Tsweep& Analyses::GetTsweep() {
    return static_cast<Tsweep&>(*tsweep_);
}
Analyses::Pz& Analyses::GetPz() {
    return static_cast<Pz&>(*pz_);
}
Analyses::Tf& Analyses::GetTf() {
    return static_cast<Tf&>(*tf_);
}
Analyses::Sens& Analyses::GetSens() {
    return static_cast<Sens&>(*sens_);
}
Analyses::Worst& Analyses::GetWorst() {
    return static_cast<Worst&>(*worst_);
}
Analyses::Monte& Analyses::GetMonte() {
    return static_cast<Monte&>(*monte_);
}
Analyses::User& Analyses::GetUser() {
    return static_cast<User&>(*user_);
}
Analyses::Run& Analyses::GetRun() {
    return static_cast<Run&>(*run_);
}
