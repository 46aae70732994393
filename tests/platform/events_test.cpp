// Event variants and sinks: carrying plot-callback arguments and conversions.
#include "platform/events.h"
#include "platform/spice.h"

#include <gtest/gtest.h>

#include <limits>

TEST(IITVariant, CarriesPlotCallbackArgumentsOnly) {
    CSpiceDataRow row;
    row.real = {1.0, 2.0};
    row.imag = {0.0, 0.0};
    const CSpiceArgs args(CSpiceArgs::Data, &row);
    const IITVariant v(&args);
    EXPECT_FALSE(v.IsEmpty());
    ASSERT_EQ(v.GetSpiceArgsPtr(), &args);
    EXPECT_EQ(v.GetSpiceArgsPtr()->GetDataRow(), &row);
    EXPECT_EQ(v.GetSpiceArgsPtr()->GetPlotInfo(), nullptr);
    EXPECT_EQ(v.GetLong(), 0);
    EXPECT_EQ(v.GetString(), "");

    EXPECT_TRUE(IITVariant().IsEmpty());
    EXPECT_EQ(IITVariant().GetSpiceArgsPtr(), nullptr);
    EXPECT_EQ(IITVariant(4005L).GetSpiceArgsPtr(), nullptr);
    EXPECT_EQ(IITVariant(CString("x")).GetSpiceArgsPtr(), nullptr);
}

TEST(IITVariant, ConvertsBetweenNumbersAndText) {
    EXPECT_EQ(IITVariant(42).GetDouble(), 42.0);
    EXPECT_EQ(IITVariant(-42L).GetString(), "-42");
    EXPECT_EQ(IITVariant(2.75).GetLong(), 2);
    EXPECT_EQ(IITVariant(-2.75).GetLong(), -2);
    EXPECT_EQ(IITVariant(1e30).GetLong(), std::numeric_limits<long>::max());
    EXPECT_EQ(IITVariant(0.001).GetString(), "0.001");
    EXPECT_EQ(IITVariant(1e10).GetString(), "1e+10");
    EXPECT_EQ(IITVariant(300.15).GetString(), "300.15");

    EXPECT_EQ(IITVariant(CString(" 42 ")).GetLong(), 42);
    EXPECT_EQ(IITVariant(CString("9007199254740993")).GetLong(), 9007199254740993L);
    EXPECT_EQ(IITVariant(CString("1e3")).GetLong(), 1000);
    EXPECT_EQ(IITVariant(CString("+2.5")).GetDouble(), 2.5);
    EXPECT_EQ(IITVariant(CString("12abc")).GetLong(), 0);
    EXPECT_EQ(IITVariant(CString("abc")).GetDouble(), 0.0);
    EXPECT_EQ(IITVariant(CString("")).GetLong(), 0);
    EXPECT_EQ(IITVariant(CString("v(1)")).GetString(), "v(1)");
    EXPECT_EQ(IITVariant().GetDouble(), 0.0);
}

namespace {

class DataCounter : public CEventSink {
public:
    int HandleEventIndirect(CEventSource* source, const EventData* data) override {
        if (source && data && data->id == 4005 && data->value.GetSpiceArgsPtr()) {
            ++rows;
            return 1;
        }
        return CEventSink::HandleEventIndirect(source, data);
    }
    int rows = 0;
};

} // namespace

TEST(CEventSink, BaseIgnoresWhatDerivedSinksPassOn) {
    CEventSource source("ngspice");
    CSpiceDataRow row;
    const CSpiceArgs args(CSpiceArgs::Data, &row);
    const EventData data{4005, IITVariant(&args)};
    const EventData other{4007, IITVariant(&args)};

    CEventSink base("base", "ignores everything");
    EXPECT_EQ(base.HandleEventIndirect(&source, &data), 0);
    EXPECT_EQ(base.HandleEventIndirect(nullptr, nullptr), 0);

    DataCounter counter;
    CEventSink& sink = counter;
    EXPECT_EQ(sink.HandleEventIndirect(&source, &data), 1);
    EXPECT_EQ(sink.HandleEventIndirect(&source, &other), 0);
    EXPECT_EQ(sink.HandleEventIndirect(&source, nullptr), 0);
    EXPECT_EQ(counter.rows, 1);
}

TEST(IITVariant, CarriesElementNamesAndParameterValues) {
    const CStringArray names = {"Resistor", "rmod", "r1", "resistance"};
    const IITVariant list(names);
    ASSERT_NE(list.GetStringArray(), nullptr);
    EXPECT_EQ(*list.GetStringArray(), names);
    EXPECT_EQ(list.GetPropertyItem(), nullptr);
    EXPECT_EQ(list.GetString(), "");
    EXPECT_EQ(list.GetLong(), 0);

    const IITVariant value(CPropertyItem("value", 4.7e3));
    ASSERT_NE(value.GetPropertyItem(), nullptr);
    EXPECT_EQ(value.GetPropertyItem()->GetLabel(), "value");
    EXPECT_EQ(value.GetString(), "4700");
    EXPECT_EQ(value.GetDouble(), 4.7e3);
    EXPECT_EQ(value.GetLong(), 4700);
    EXPECT_EQ(IITVariant(CPropertyItem("value", CString("1k"))).GetString(), "1k");
    EXPECT_EQ(IITVariant(2.0).GetStringArray(), nullptr);
    EXPECT_EQ(IITVariant("text").GetString(), "text");
}
