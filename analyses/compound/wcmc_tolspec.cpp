// Tolerance specifications: draws, nominal values, simulator writes, records and texts.
#include "analyses/compound/wcmc_tolspec.h"

#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"
#include "platform/frontend.h"
#include "platform/resources.h"

#include <array>
#include <charconv>

Random WcMcTolSpec::m_random_number_generator[WcMcTolSpec::LotCount];
// No generation yet: the streams are made again on first use, so that their
// seeds do not hang on the order in which the program's statics were built.
uint64_t WcMcTolSpec::s_lotGeneration = UINT64_MAX;

namespace {

struct NameRow {
    unsigned id;
    const char* fallback; ///< shown when the string table lacks the text
};

constexpr NameRow kDistributionNames[] = {
    {IDS_TOL_UNIFORM, "Uniform"},
    {IDS_TOL_GAUSSIAN, "Gaussian"},
};

constexpr NameRow kLotNames[] = {
    {IDS_TOL_UNIQUE, "Unique"}, {IDS_TOL_LOT1, "Lot 1"}, {IDS_TOL_LOT2, "Lot 2"},
    {IDS_TOL_LOT3, "Lot 3"},    {IDS_TOL_LOT4, "Lot 4"}, {IDS_TOL_LOT5, "Lot 5"},
    {IDS_TOL_LOT6, "Lot 6"},    {IDS_TOL_LOT7, "Lot 7"}, {IDS_TOL_LOT8, "Lot 8"},
    {IDS_TOL_LOT9, "Lot 9"},
};

template <size_t N> std::array<CString, N> LoadNames(const NameRow (&rows)[N]) {
    std::array<CString, N> names;
    for (size_t i = 0; i < N; ++i) {
        names[i] = GetResourceString(rows[i].id);
        if (names[i].IsEmpty())
            names[i] = rows[i].fallback;
    }
    return names;
}

const CString& Empty() {
    static const CString empty;
    return empty;
}

// Text to double the way the C library reads it in the C locale: leading
// blanks and a plus sign allowed, the longest number at the front taken.
double ReadNumber(const CString& text) {
    std::string_view s = text.view();
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\n' ||
                          s.front() == '\r' || s.front() == '\v' || s.front() == '\f'))
        s.remove_prefix(1);
    if (!s.empty() && s.front() == '+')
        s.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), value);
    (void)end;
    return error == std::errc() ? value : 0.0;
}

// The parameter of the tolerance's element as the circuit holds it now.
std::optional<CSPICEparam> PresentParameter(const CSPICEdevMember& member, const CString& name) {
    // A copy, so that asking does not disturb the member's own record.
    CSPICEdevMember live(member);
    live.SetUpdateFlag();
    return live.FindParameter(name);
}

} // namespace

WcMcTolSpec::WcMcTolSpec() {
    reset();
}

const CString& WcMcTolSpec::GetDistributionName(Distribution d) {
    static const auto names = LoadNames(kDistributionNames);
    return d >= 0 && static_cast<size_t>(d) < names.size() ? names[static_cast<size_t>(d)]
                                                           : Empty();
}

const CString& WcMcTolSpec::GetLotName(LotNum lot) {
    static const auto names = LoadNames(kLotNames);
    return lot >= 0 && static_cast<size_t>(lot) < names.size() ? names[static_cast<size_t>(lot)]
                                                               : Empty();
}

void WcMcTolSpec::reset() {
    distribution = Gaussian;
    lotNum = Unique;
    tolType = Percent;
    tolClass = ModelParameter;
    tolValue = 0.0;
}

Random& WcMcTolSpec::GetRandom() {
    const uint64_t generation = Random::GetSeedGeneration();
    if (randomGeneration != generation) {
        random = Random(0);
        randomGeneration = generation;
    }
    return random;
}

Random& WcMcTolSpec::GetRandom(const WcMcTolSpec& /*spec*/) {
    if (lotNum < Lot1 || lotNum > Lot9)
        return GetRandom();
    // The lot streams were made before main(), before any seed could be set.
    const uint64_t generation = Random::GetSeedGeneration();
    if (s_lotGeneration != generation) {
        for (Random& lot : m_random_number_generator)
            lot = Random(0);
        s_lotGeneration = generation;
    }
    return m_random_number_generator[lotNum - 1];
}

double WcMcTolSpec::PopValue() {
    const double replaced = value[0];
    value[0] = value[1];
    return replaced;
}

double WcMcTolSpec::GetOriginalValue() const {
    const CString text = memberParamToSweep.GetValue().GetValue();
    if (!text.IsEmpty())
        return ReadNumber(text);
    const std::optional<CSPICEparam> present =
        PresentParameter(memberToSweep, memberParamToSweep.GetName());
    return present ? ReadNumber(present->GetValue().GetValue()) : 0.0;
}

int WcMcTolSpec::TakeNominalFromCircuit() {
    if (!memberParamToSweep.GetValue().GetValue().IsEmpty())
        return 1;
    const std::optional<CSPICEparam> present =
        PresentParameter(memberToSweep, memberParamToSweep.GetName());
    if (!present || present->GetValue().GetValue().IsEmpty())
        return 0;
    CPropertyList record;
    for (const CPropertyItem& item : memberParamToSweep.toPropertyList())
        if (!(item.GetLabel() == "value"))
            record.AddItem(item);
    if (memberParamToSweep.toPropertyList().IsEmpty())
        record.AddItem(CPropertyItem("name", memberParamToSweep.GetName()));
    record.AddItem(present->GetValue());
    memberParamToSweep.fromPropertyList(record);
    return 1;
}

void WcMcTolSpec::SetOriginalValue() {
    value[0] = GetOriginalValue();
}

double WcMcTolSpec::GetTolToAdjustValue() const {
    return tolType == Percent ? GetOriginalValue() * tolValue * 0.01 : tolValue;
}

void WcMcTolSpec::SetTolAdjustedValue(int sign) {
    value[0] = GetOriginalValue() + sign * GetTolToAdjustValue();
}

void WcMcTolSpec::SetNewRandomValue() {
    const double nominal = GetOriginalValue();
    const double d = GetTolToAdjustValue();
    Random& stream = GetRandom(*this);
    switch (distribution) {
    case Uniform:
        value[0] = stream.UnifReal(nominal - d, nominal + d);
        break;
    case Gaussian:
        // The tolerance band is three standard deviations wide on each side.
        value[0] = stream.Normal(nominal, d * 0.3333333333333333);
        break;
    default:
        value[0] = nominal;
        break;
    }
}

int WcMcTolSpec::SetOnSimulator(CInstrumentInterface* simulator, History h) const {
    if (!simulator)
        return 0;
    const CString& param = memberParamToSweep.GetName();
    const CString text = FormatNumber(GetValue(h));
    const CString type = memberParamToSweep.GetValue().GetType();
    CPropertyItem item(param, type.IsEmpty() ? CString("double") : type, text);
    // An integer parameter given a fractional value still gets the number.
    if (item.IsEmpty())
        item = CPropertyItem(param, CString("double"), text);

    CStringArray names;
    names.push_back(memberToSweep.GetDeviceName());
    names.push_back(memberToSweep.GetModelName());
    if (tolClass == InstanceParameter)
        names.push_back(memberToSweep.GetName());
    names.push_back(param);
    const long id =
        tolClass == InstanceParameter ? SNAPIN_INSTANCE_PARAMETER : SNAPIN_MODEL_PARAMETER;
    return simulator->SetProperty(id, IITVariant(names), IITVariant(item), nullptr);
}

void WcMcTolSpec::TolSpecWithNewCirc(Instance* /*instance*/, CASimulationEngine& engine) {
    CSpiceSessionAgency* agency = engine.GetSessionDistributor();
    CSpiceSession* session = agency ? agency->GetMainSession() : nullptr;
    if (!session)
        return;
    CSpiceCircuit circuit = session->GetCurrentCircuit();
    memberToSweep = memberToSweep.memberWithNewCirc(circuit, engine);
}

CString WcMcTolSpec::GetMemberName() const {
    return tolClass == InstanceParameter ? memberToSweep.GetName() : memberToSweep.GetModelName();
}

CString WcMcTolSpec::GetSensitivityVectorName() const {
    const char* separator = tolClass == InstanceParameter ? "_" : ":";
    return GetMemberName() + separator + GetParameterName();
}

CPropertyList WcMcTolSpec::toPropertyList() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("Distr", static_cast<long>(distribution)));
    list.AddItem(CPropertyItem("LotNum", static_cast<long>(lotNum)));
    list.AddItem(CPropertyItem("TolClass", static_cast<long>(tolClass)));
    list.AddItem(CPropertyItem("TolType", static_cast<long>(tolType)));
    list.AddItem(CPropertyItem("TolValue", tolValue));
    // The record is rebuilt from the circuit, so it carries the element's
    // parameters as they are now; the member itself is left as it was.
    CSPICEdevMember member(memberToSweep);
    member.SetUpdateFlag();
    list.AddItem(CPropertyItem("MemberToSweep", member.toPropertyList(1)));
    list.AddItem(CPropertyItem("MemberParamToSweep", memberParamToSweep.toPropertyList()));
    return list;
}

int WcMcTolSpec::fromPropertyList(const CPropertyList& list) {
    int result = 1;
    for (const CPropertyItem& item : list) {
        const CString& label = item.GetLabel();
        const auto type = item.GetTypeOfValue();
        const bool isInt = type == CPropertyItem::Int;
        if (label == "Distr") {
            if (isInt)
                distribution = static_cast<Distribution>(item.GetInt());
        } else if (label == "LotNum") {
            if (isInt)
                lotNum = static_cast<LotNum>(item.GetInt());
        } else if (label == "TolClass") {
            if (isInt)
                tolClass = static_cast<TolClass>(item.GetInt());
        } else if (label == "TolType") {
            if (isInt)
                tolType = static_cast<TolType>(item.GetInt());
        } else if (label == "TolValue") {
            if (type == CPropertyItem::Double)
                tolValue = item.GetDouble();
        } else if (label == "MemberToSweep") {
            if (type == CPropertyItem::List &&
                !memberToSweep.fromPropertyList(item.GetPropertyList(),
                                                CSpiceDevice_generic_iterator_wrapper()))
                result = 0;
        } else if (label == "MemberParamToSweep") {
            if (type == CPropertyItem::List &&
                !memberParamToSweep.fromPropertyList(item.GetPropertyList()))
                result = 0;
        } else {
            result = 0;
        }
    }
    return result;
}

CString WcMcTolSpec::toShortDescription(int withDetails) const {
    CString text = GetResourceString(tolClass == InstanceParameter ? IDS_TOL_INSTANCE_VALUE
                                                                   : IDS_TOL_MODEL_VALUE);
    text += FormatNumber(tolValue);
    if (tolType == Percent)
        text += "%";
    if (withDetails) {
        text += ", " + GetResourceString(IDS_TOL_DISTRIBUTION) + GetDistributionName(distribution);
        text += ", " + GetResourceString(IDS_TOL_LOT_NUMBER) + GetLotName(lotNum);
    }
    return text;
}

void WcMcTolSpec::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    const CString head =
        GetResourceString(tolClass == InstanceParameter ? IDS_TOL_INSTANCE : IDS_TOL_MODEL) +
        GetMemberName() + ", " + GetResourceString(IDS_TOL_PARAMETER) + GetParameterName();
    _TREEITEM* item = log.InsertItem(CTreeLog::Normal, head, parent);
    // The heading reads "Lot Tolerance" for unique tolerances too.
    _TREEITEM* heading =
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_TOL_LOT_TOLERANCE), item);
    InsertLine(log, heading, IDS_TOL_DISTRIBUTION, GetDistributionName(distribution));
    InsertLine(log, heading, IDS_TOL_LOT_NUMBER, GetLotName(lotNum));
    InsertLine(log, heading, IDS_TOL_VALUE,
               FormatNumber(tolValue) + (tolType == Percent ? "%" : ""));
}

CString ValidateTolSpec(const WcMcTolSpec& spec) {
    if (spec.GetTolValue() <= 0.0)
        return GetResourceString(IDS_TOL_ERR_NOT_POSITIVE);
    if (spec.GetTolType() == WcMcTolSpec::Percent) {
        if (spec.GetOriginalValue() == 0.0)
            return GetResourceString(IDS_TOL_ERR_PERCENT_OF_ZERO);
        // Not below 100: exactly 100% is refused as well.
        if (!(spec.GetTolValue() < 100.0))
            return GetResourceString(IDS_TOL_ERR_PERCENT_TOO_LARGE);
    }
    return CString();
}
