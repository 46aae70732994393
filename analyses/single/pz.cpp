// Pole-zero analysis: command line, persistence and readable summary.
#include "analyses/single/pz.h"

#include "analyses/core/property_reader.h"

#include "platform/helpers.h"
#include "platform/resources.h"

namespace {

Analyses::Pz::PZanType EffectiveType(Analyses::Pz::PZanType t) {
    return t >= Analyses::Pz::Gain && t <= Analyses::Pz::OutputImpedance ? t : Analyses::Pz::Gain;
}

Analyses::Pz::PZpart EffectivePart(Analyses::Pz::PZpart p) {
    return p >= Analyses::Pz::PolesAndZeros && p <= Analyses::Pz::Zeros
               ? p
               : Analyses::Pz::PolesAndZeros;
}

constexpr unsigned kTypeWords[] = {IDS_PZ_GAIN_ANALYSIS, IDS_PZ_IMPEDANCE_ANALYSIS,
                                   IDS_PZ_INPUT_IMPEDANCE, IDS_PZ_OUTPUT_IMPEDANCE};
constexpr unsigned kPartWords[] = {IDS_PZ_POLE_AND_ZERO, IDS_PZ_POLE, IDS_PZ_ZERO};
constexpr const char* kPartCommands[] = {"pz ", "pol ", "zer "};

} // namespace

Analyses::Pz::Pz(const Analyses* main) : Analysis(main) {
    reset();
}

void Analyses::Pz::reset() {
    Analysis::reset();
    filterInputPlus_ = filterInputMinus_ = filterOutputPlus_ = filterOutputMinus_ = NF_NONE;
    inputPlus_.Empty();
    inputMinus_.Empty();
    outputPlus_.Empty();
    outputMinus_.Empty();
    anType_ = Gain;
    part_ = PolesAndZeros;
}

CString Analyses::Pz::toNutmegCommandHelper() const {
    const PZanType type = EffectiveType(anType_);
    // Impedance at one port measures that port against itself.
    const CString& first = type == OutputImpedance ? outputPlus_ : inputPlus_;
    const CString& second = type == OutputImpedance ? outputMinus_ : inputMinus_;
    const CString& third = type == InputImpedance ? inputPlus_ : outputPlus_;
    const CString& fourth = type == InputImpedance ? inputMinus_ : outputMinus_;

    CString cmd = "pz ";
    cmd += " -env-options ";
    for (const CString* node : {&first, &second, &third, &fourth})
        cmd += ConvertNullToGround(*node) + " ";
    cmd += type == Gain ? "vol " : "cur ";
    cmd += kPartCommands[EffectivePart(part_)];
    return cmd;
}

CPropertyList Analyses::Pz::toPropertyListHelper() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("NodeFilterInputPlus", static_cast<long>(filterInputPlus_)));
    list.AddItem(CPropertyItem("NodeFilterInputMinus", static_cast<long>(filterInputMinus_)));
    list.AddItem(CPropertyItem("NodeFilterOutputPlus", static_cast<long>(filterOutputPlus_)));
    list.AddItem(CPropertyItem("NodeFilterOutputMinus", static_cast<long>(filterOutputMinus_)));
    list.AddItem(CPropertyItem("InputPlus", inputPlus_));
    list.AddItem(CPropertyItem("InputMinus", inputMinus_));
    list.AddItem(CPropertyItem("OutputPlus", outputPlus_));
    list.AddItem(CPropertyItem("OutputMinus", outputMinus_));
    list.AddItem(CPropertyItem("PZpart", static_cast<long>(part_)));
    list.AddItem(CPropertyItem("AnalysisType", static_cast<long>(anType_)));
    return list;
}

int Analyses::Pz::fromPropertyListHelper(const CPropertyList& list) {
    static constexpr PropertyReader::IntKey<Pz, NodeFilter> filters[] = {
        {"NodeFilterInputPlus", &Pz::filterInputPlus_},
        {"NodeFilterInputMinus", &Pz::filterInputMinus_},
        {"NodeFilterOutputPlus", &Pz::filterOutputPlus_},
        {"NodeFilterOutputMinus", &Pz::filterOutputMinus_},
    };
    static constexpr PropertyReader::StringKey<Pz> names[] = {
        {"InputPlus", &Pz::inputPlus_},
        {"InputMinus", &Pz::inputMinus_},
        {"OutputPlus", &Pz::outputPlus_},
        {"OutputMinus", &Pz::outputMinus_},
    };
    static constexpr PropertyReader::IntKey<Pz, PZpart> parts[] = {{"PZpart", &Pz::part_}};
    static constexpr PropertyReader::IntKey<Pz, PZanType> types[] = {
        {"AnalysisType", &Pz::anType_}};

    int result = 1;
    for (const CPropertyItem& item : list)
        if (!PropertyReader::ApplyKnownKey(*this, item, filters, names, parts, types))
            result = 0;
    return result;
}

void Analyses::Pz::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    Analysis::toReadableTextHelper(log, parent);
    const PZanType type = EffectiveType(anType_);
    log.InsertItem(CTreeLog::Normal,
                   GetResourceString(IDS_PZ_ANALYSIS_TYPE) + GetResourceText(kTypeWords[type]),
                   parent);
    log.InsertItem(CTreeLog::Normal,
                   GetResourceString(IDS_PZ_ANALYSES_PERFORMED) +
                       GetResourceText(kPartWords[EffectivePart(part_)]),
                   parent);
    auto line = [&](unsigned label, const CString& node) {
        log.InsertItem(CTreeLog::Normal, GetResourceString(label) + ConvertNullToGround(node),
                       parent);
    };
    if (type != OutputImpedance) {
        line(IDS_PZ_INPUT_PLUS, inputPlus_);
        line(IDS_PZ_INPUT_MINUS, inputMinus_);
    }
    if (type != InputImpedance) {
        line(IDS_PZ_OUTPUT_PLUS, outputPlus_);
        line(IDS_PZ_OUTPUT_MINUS, outputMinus_);
    }
}
