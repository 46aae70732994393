// One place that knows every analysis class: creation by kind and by nickname.
#include "analyses/core/analysis_factory.h"

// One include per analysis kind.
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

#include <memory>

namespace {

using T = Analyses::AnalysisType;

constexpr AnalysisKindName kKinds[] = {
    {T::Op, "OP"},
    {T::Ac, "AC"},
    {T::Tran, "TRAN"},
    {T::Four, "FOUR"},
    {T::Noise, "NOISE"},
    {T::Disto, "DISTO"},
    {T::DcSweep, "DC_SWEEP"},
    {T::Psweep, "PSWEEP"},
    {T::Tsweep, "TSWEEP"},
    {T::Pz, "PZ"},
    {T::Tf, "TF"},
    {T::Sens, "SENS"},
    {T::Worst, "WORST"},
    {T::Monte, "MONTE"},
    {T::User, "USER"},
    {T::Options, "ORVO_OPT"},
    {T::Run, "RUN"},
    {T::TraceWidth, "TRACEWIDTH"},
    {T::NoiseFigure, "NOISE_FIGURE"},
};
static_assert(std::size(kKinds) == Analyses::AnalysisTypeCount);

} // namespace

std::span<const AnalysisKindName> AnalysisKindNames() {
    return kKinds;
}

Analyses::Analysis* NewAnalysisOfType(Analyses::AnalysisType type, const Analyses* main) {
    switch (type) {
    // One line per analysis kind; a kind without a line yields null.
    case T::Op:
        return new Analyses::Op(main);
    case T::Ac:
        return new Analyses::Ac(main);
    case T::Tran:
        return new Analyses::Tran(main);
    case T::Four:
        return new Analyses::Four(main);
    case T::Noise:
        return new Analyses::Noise(main);
    case T::Disto:
        return new Analyses::Disto(main);
    case T::DcSweep:
        return new Analyses::DcSweep(main);
    case T::Pz:
        return new Analyses::Pz(main);
    case T::Tf:
        return new Analyses::Tf(main);
    case T::Sens:
        return new Analyses::Sens(main);
    case T::User:
        return new Analyses::User(main);
    case T::Run:
        return new Analyses::Run(main);
    default:
        return nullptr;
    }
}

Analyses::Analysis* NewAnalysisByNickname(const CString& nickname, const Analyses* main) {
    for (const AnalysisKindName& k : kKinds)
        if (nickname == k.nickname)
            return NewAnalysisOfType(k.type, main);
    return nullptr;
}

std::unique_ptr<Analyses::Analysis> Analyses::NewAnalysisByNickname(const CString& nickname,
                                                                    const Analyses* main) {
    return std::unique_ptr<Analysis>(::NewAnalysisByNickname(nickname, main));
}

std::vector<CString> Analyses::AnalysisNicknames() {
    std::vector<CString> names;
    for (const AnalysisKindName& k : kKinds)
        names.emplace_back(k.nickname);
    return names;
}
