// Pole-zero analysis: command line, persistence and readable summary.
#include "analyses/single/pz.h"

#include "analyses/core/analysis_text.h"
#include "platform/helpers.h"
#include "platform/resources.h"

namespace {

using Pz = Analyses::Pz;

struct TypeRow {
    Pz::PZanType value;
    unsigned text;
};
constexpr TypeRow kTypes[] = {
    {Pz::Gain, IDS_PZ_GAIN_ANALYSIS},
    {Pz::Impedance, IDS_PZ_IMPEDANCE_ANALYSIS},
    {Pz::InputImpedance, IDS_PZ_INPUT_IMPEDANCE},
    {Pz::OutputImpedance, IDS_PZ_OUTPUT_IMPEDANCE},
};

struct PartRow {
    Pz::PZpart value;
    const char* word; ///< command word
    unsigned text;
};
constexpr PartRow kParts[] = {
    {Pz::PolesAndZeros, "pz ", IDS_PZ_POLE_AND_ZERO},
    {Pz::Poles, "pol ", IDS_PZ_POLE},
    {Pz::Zeros, "zer ", IDS_PZ_ZERO},
};

// Stored values outside the enumerations act as the first row.
const TypeRow& TypeOf(Pz::PZanType t) {
    const TypeRow* row = RowOfValue(kTypes, t);
    return row ? *row : kTypes[0];
}
const PartRow& PartOf(Pz::PZpart p) {
    const PartRow* row = RowOfValue(kParts, p);
    return row ? *row : kParts[0];
}

} // namespace

Analyses::Pz::Pz(const Analyses* main) : AnalysisIdentity(main) {
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
    const PZanType type = TypeOf(anType_).value;
    // Impedance at one port measures that port against itself.
    const CString& first = type == OutputImpedance ? outputPlus_ : inputPlus_;
    const CString& second = type == OutputImpedance ? outputMinus_ : inputMinus_;
    const CString& third = type == InputImpedance ? inputPlus_ : outputPlus_;
    const CString& fourth = type == InputImpedance ? inputMinus_ : outputMinus_;

    CString cmd = CommandHead("pz");
    for (const CString* node : {&first, &second, &third, &fourth})
        cmd += ConvertNullToGround(*node) + " ";
    cmd += type == Gain ? "vol " : "cur ";
    cmd += PartOf(part_).word;
    return cmd;
}

std::span<const PropertyKeys::Key<Analyses::Pz>> Analyses::Pz::Keys() {
    using PropertyKeys::Field;
    static constexpr PropertyKeys::Key<Pz> keys[] = {
        Field<&Pz::filterInputPlus_>("NodeFilterInputPlus"),
        Field<&Pz::filterInputMinus_>("NodeFilterInputMinus"),
        Field<&Pz::filterOutputPlus_>("NodeFilterOutputPlus"),
        Field<&Pz::filterOutputMinus_>("NodeFilterOutputMinus"),
        Field<&Pz::inputPlus_>("InputPlus"),
        Field<&Pz::inputMinus_>("InputMinus"),
        Field<&Pz::outputPlus_>("OutputPlus"),
        Field<&Pz::outputMinus_>("OutputMinus"),
        Field<&Pz::part_>("PZpart"),
        Field<&Pz::anType_>("AnalysisType"),
    };
    return keys;
}

void Analyses::Pz::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    const TypeRow& type = TypeOf(anType_);
    InsertLine(log, parent, IDS_PZ_ANALYSIS_TYPE, GetResourceText(type.text));
    InsertLine(log, parent, IDS_PZ_ANALYSES_PERFORMED, GetResourceText(PartOf(part_).text));
    if (type.value != OutputImpedance) {
        InsertNameLine(log, parent, IDS_PZ_INPUT_PLUS, inputPlus_);
        InsertNameLine(log, parent, IDS_PZ_INPUT_MINUS, inputMinus_);
    }
    if (type.value != InputImpedance) {
        InsertNameLine(log, parent, IDS_PZ_OUTPUT_PLUS, outputPlus_);
        InsertNameLine(log, parent, IDS_PZ_OUTPUT_MINUS, outputMinus_);
    }
}
