// Event variants and sinks: carrying plot-callback arguments and conversions.
#include "platform/events.h"
#include "platform/spice.h"

#include <gtest/gtest.h>

#include <limits>

TEST(IITVariant, CarriesPlotCallbackArgumentsElementNamesAndParameterValues) {
    CSpiceDataRow row;
    const CSpiceArgs args(CSpiceArgs::Data, &row);
    const IITVariant v(&args);
    EXPECT_FALSE(v.IsEmpty());
    EXPECT_EQ(v.GetSpiceArgsPtr(), &args);
    EXPECT_EQ(v.GetLong(), 0);
    EXPECT_EQ(v.GetString(), "");
    EXPECT_TRUE(IITVariant().IsEmpty());
    for (const IITVariant& other : {IITVariant(), IITVariant(4005L), IITVariant(CString("x"))})
        EXPECT_EQ(other.GetSpiceArgsPtr(), nullptr);

    const CStringArray names = {"Resistor", "rmod", "r1", "resistance"};
    const IITVariant list(names);
    ASSERT_NE(list.GetStringArray(), nullptr);
    EXPECT_EQ(*list.GetStringArray(), names);
    EXPECT_EQ(list.GetString(), "");
    EXPECT_EQ(IITVariant(2.0).GetStringArray(), nullptr);
    const IITVariant value(CPropertyItem("value", 4.7e3));
    ASSERT_NE(value.GetPropertyItem(), nullptr);
    EXPECT_EQ(value.GetString() + "/" + std::to_string(value.GetLong()), "4700/4700");
    EXPECT_EQ(IITVariant(CPropertyItem("value", CString("1k"))).GetString(), "1k");
}

TEST(IITVariant, ConvertsBetweenNumbersAndText) {
    EXPECT_EQ(IITVariant(42).GetDouble(), 42.0);
    EXPECT_EQ(IITVariant(-42L).GetString(), "-42");
    EXPECT_EQ(IITVariant(2.75).GetLong(), 2);
    EXPECT_EQ(IITVariant(-2.75).GetLong(), -2);
    EXPECT_EQ(IITVariant(1e30).GetLong(), std::numeric_limits<long>::max());
    EXPECT_EQ(IITVariant(0.001).GetString() + " " + IITVariant(1e10).GetString(), "0.001 1e+10");
    // Text reads as a whole number or not at all.
    const std::pair<const char*, long> texts[] = {{" 42 ", 42},
                                                  {"9007199254740993", 9007199254740993L},
                                                  {"1e3", 1000},
                                                  {"12abc", 0},
                                                  {"", 0}};
    for (const auto& [text, number] : texts)
        EXPECT_EQ(IITVariant(CString(text)).GetLong(), number) << text;
    EXPECT_EQ(IITVariant(CString("+2.5")).GetDouble(), 2.5);
    EXPECT_EQ(IITVariant(CString("abc")).GetDouble(), 0.0);
    EXPECT_EQ(IITVariant().GetDouble(), 0.0);
    EXPECT_EQ(IITVariant("text").GetString(), "text");
}

TEST(CEventSink, TheBaseIgnoresEveryEvent) {
    CEventSource source("ngspice");
    CSpiceDataRow row;
    const CSpiceArgs args(CSpiceArgs::Data, &row);
    const EventData data{4005, IITVariant(&args)};
    CEventSink base("base", "ignores everything");
    EXPECT_EQ(base.HandleEventIndirect(&source, &data), 0);
    EXPECT_EQ(base.HandleEventIndirect(nullptr, nullptr), 0);
}
