// WcMcTolSpec: how far one parameter may stray from its nominal value, and how it is drawn.
#pragma once

#include "analyses/compound/wcmc_run_data.h"
#include "canal/export.h"
#include "engine/device_member.h"
#include "platform/random.h"
#include "platform/treelog.h"

#include <cstdint>

class CASimulationEngine;
class CInstrumentInterface;
class Instance;

/// One tolerance on one parameter of a circuit element. A plain value: copies
/// carry every field, the random stream's state included.
class CANAL_EXPORT WcMcTolSpec {
public:
    enum Distribution : int32_t { Uniform = 0, Gaussian = 1 };
    /// Unique: the tolerance draws from its own stream; lots 1 to 9 share one
    /// stream per lot, so parameters of a lot move together in sequence.
    enum LotNum : int32_t {
        Unique = 0,
        Lot1 = 1,
        Lot2 = 2,
        Lot3 = 3,
        Lot4 = 4,
        Lot5 = 5,
        Lot6 = 6,
        Lot7 = 7,
        Lot8 = 8,
        Lot9 = 9
    };
    /// Absolute: the tolerance value is in the parameter's own units.
    enum TolType : int32_t { Absolute = 0, Percent = 1 };
    enum TolClass : int32_t { ModelParameter = 0, InstanceParameter = 1 };
    /// Index of value[]: the value to apply, and the one saved by PushValue.
    enum History : int32_t { Current = 0, Saved = 1 };

    static constexpr int LotCount = 9;
    /// What value[] holds until a run sets it; never meant to reach a simulator.
    static constexpr double Placeholder = 42.0;

    WcMcTolSpec();
    WcMcTolSpec(const WcMcTolSpec&) = default;
    WcMcTolSpec& operator=(const WcMcTolSpec&) = default;
    ~WcMcTolSpec() = default;

    /// Display names from the string table, cached on first use; "" out of range.
    static const CString& GetDistributionName(Distribution d);
    static const CString& GetLotName(LotNum lot);

    Distribution GetDistribution() const { return distribution; }
    void SetDistribution(Distribution d) { distribution = d; }
    LotNum GetLotNum() const { return lotNum; }
    void SetLotNum(LotNum lot) { lotNum = lot; }
    TolType GetTolType() const { return tolType; }
    void SetTolType(TolType t) { tolType = t; }
    TolClass GetTolClass() const { return tolClass; }
    void SetTolClass(TolClass c) { tolClass = c; }
    /// Percent or parameter units, by the type.
    double GetTolValue() const { return tolValue; }
    void SetTolValue(double v) { tolValue = v; }
    CSPICEdevMember& GetMemberToSweep() { return memberToSweep; }
    const CSPICEdevMember& GetMemberToSweep() const { return memberToSweep; }
    CSPICEparam& GetMemberParameterToSweep() { return memberParamToSweep; }
    const CSPICEparam& GetMemberParameterToSweep() const { return memberParamToSweep; }
    WcMcRunData& GetWcMcRunData() { return runData; }
    const WcMcRunData& GetWcMcRunData() const { return runData; }

    /// The tolerance's own stream. A stream made before the last
    /// Random::SetMasterSeed is made again from the new sequence first, so
    /// that one seed always gives the same draws.
    Random& GetRandom();
    /// The stream a draw takes: the own stream for a unique tolerance, else the
    /// class-wide stream of its lot (made again after a new master seed, like
    /// the own one). The argument does not change the choice.
    Random& GetRandom(const WcMcTolSpec& spec);

    double GetValue(History h) const { return value[h == Saved ? 1 : 0]; }
    double GetValue(int h) const { return value[h == 1 ? 1 : 0]; }
    void SetValue(double v, History h) { value[h == Saved ? 1 : 0] = v; }
    /// Saves the value to apply.
    void PushValue() { value[1] = value[0]; }
    /// Restores the saved value; returns the value it replaced.
    double PopValue();

    /// The nominal value: the parameter's value text read as a number (C
    /// locale; unreadable text gives 0). A parameter stored without a value
    /// takes the circuit's present value through the engine.
    double GetOriginalValue() const;
    /// Stores the circuit's present value as the parameter's value when it has
    /// none, so that later reads are not disturbed by values set for runs.
    /// 1 when the parameter has a value afterwards.
    int TakeNominalFromCircuit();
    /// value[0] := nominal.
    void SetOriginalValue();
    /// The absolute deviation: nominal * tolValue * 0.01 for a percentage,
    /// else tolValue. Negative for a percentage of a negative nominal.
    double GetTolToAdjustValue() const;
    /// value[0] := nominal + sign * deviation (sign -1, 0 or +1 in use).
    void SetTolAdjustedValue(int sign);
    /// value[0] := a draw: uniform over nominal +- deviation, or Gaussian
    /// around nominal with the deviation as three standard deviations (not
    /// clipped to the band).
    void SetNewRandomValue();

    /// Writes value[h] into the simulator through its snap-in (borrowed; null
    /// does nothing): property 2018 with device, model, instance and parameter
    /// names for an instance parameter, 2019 with device, model and parameter
    /// names for a model parameter. The value item has the parameter value's
    /// type and the text "%lg". Returns the snap-in's answer, 0 without one.
    int SetOnSimulator(CInstrumentInterface* simulator, History h) const;
    /// Finds the element again in the current circuit of `engine`'s main
    /// session (after the analysis was copied to another circuit).
    void TolSpecWithNewCirc(Instance* instance, CASimulationEngine& engine);

    /// The element's name as reports show it: the instance name, or the model
    /// name for a model parameter.
    CString GetMemberName() const;
    const CString& GetParameterName() const { return memberParamToSweep.GetName(); }
    /// The vector a sensitivity plot names this parameter by: "r1_resistance"
    /// for an instance parameter, "qn:bf" for a model parameter.
    CString GetSensitivityVectorName() const;

    /// Distr, LotNum, TolClass, TolType, TolValue, MemberToSweep (rebuilt from
    /// the circuit), MemberParamToSweep, in this order.
    CPropertyList toPropertyList() const;
    /// Applies the known keys with the right value type; 0 when a key is
    /// unknown or a nested record fails, the other items being applied still.
    int fromPropertyList(const CPropertyList& list);

    /// "Model value: 5%", with ", Distribution: Gaussian, Lot number: Unique"
    /// when `withDetails` is non-zero.
    CString toShortDescription(int withDetails) const;
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;

    /// Gaussian, unique, percent, model, 0. Values and the stream are kept.
    void reset();

private:
    Distribution distribution = Gaussian;
    LotNum lotNum = Unique;
    TolType tolType = Percent;
    TolClass tolClass = ModelParameter;
    double tolValue = 0.0;
    CSPICEdevMember memberToSweep;
    CSPICEparam memberParamToSweep;
    Random random{0};
    uint64_t randomGeneration =
        Random::GetSeedGeneration(); ///< master seed the stream was made under
    double value[2] = {Placeholder, Placeholder};
    WcMcRunData runData;

    static Random m_random_number_generator[LotCount];
    static uint64_t s_lotGeneration;
};

/// The check made when a user enters a tolerance: "" when it is acceptable,
/// else the first failing message. Exactly 100% is refused, though the
/// message speaks of "less than or equal".
CANAL_EXPORT CString ValidateTolSpec(const WcMcTolSpec& spec);
