// The simulator-facing types the model uses: node names with flag bits, node
// name lists, analysis and output types and plot-callback arguments.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"
#include "platform/lists.h"
#include "platform/property.h"

#include <vector>

/// Analysis types as the simulator side numbers them.
enum ANALYSIS_TYPE : unsigned {
    AT_NONE = 0,
    AT_OP = 1,
    AT_AC = 2,
    AT_TRAN = 3,
    AT_NOISE = 4,
    AT_DISTO = 5,
    AT_PZ = 6,
    AT_TF = 7,
    AT_SENS = 8,
    AT_DC = 9,
};

/// Kinds of text the engine's output channel carries.
enum OUTPUT_TYPE : int {
    OT_NORMAL = 0,
    OT_WARNING = 1,
    OT_ERROR = 2,
};

/// One output variable or node name, with its kind and flag bits.
class CANAL_EXPORT CSpiceNodeName {
public:
    enum Flags : long { Saved = 256, IPlot = 512 };

    CSpiceNodeName() = default;
    CSpiceNodeName(const CString& name, int kind = 0, long flags = 0)
        : name_(name), kind_(kind), flags_(flags) {}

    const CString& GetName() const { return name_; }
    void SetName(const CString& n) { name_ = n; }
    int GetKind() const { return kind_; }
    void SetKind(int k) { kind_ = k; }
    long GetFlags() const { return flags_; }
    void SetFlags(long f) { flags_ = f; }
    void AddFlags(long f) { flags_ |= f; }
    void RemoveFlags(long f) { flags_ &= ~f; }
    bool HasFlags(long mask) const { return (flags_ & mask) != 0; }

    friend bool operator==(const CSpiceNodeName&, const CSpiceNodeName&) = default;

private:
    CString name_;
    int kind_ = 0;
    long flags_ = 0;
};

/// A locked list of node names.
class CANAL_EXPORT CSpiceNodeNameList : public CopiableSList<CSpiceNodeName> {
public:
    void AddName(const CString& name, int kind = 0, long flags = 0) {
        Add(CSpiceNodeName(name, kind, flags));
    }
    /// The entry called `name` (exact match), or null.
    CSpiceNodeName* FindName(const CString& name);
    const CSpiceNodeName* FindName(const CString& name) const;
    /// Any entry with one of the bits of `mask`.
    bool AnyWithFlags(long mask) const;

    /// Names of the entries with a bit of `mask`, joined by single blanks.
    /// When `flag` is non-zero, the list is not empty and every entry has a bit
    /// of `mask`, `allText` is returned instead of the names.
    CString toSpaceDelimittedTokens(long mask, const char* allText, int flag) const;

    /// label:list{NODE:list{Name:string{..} Kind:int{..} Flags:int{..}} ...}
    CPropertyItem toPropertyItem(const CString& label) const;
    /// Replaces the list with the item's nodes; 0 when the label differs or the
    /// value is not a list (the list is then left as it was).
    int fromPropertyItem(const CPropertyItem& item, const CString& label);
};

/// A plot the simulator begins: name, analysis type and vectors.
struct CANAL_EXPORT CSpicePlotInfo {
    CString name;  ///< e.g. "ac1"
    CString title; ///< e.g. "AC Analysis"
    ANALYSIS_TYPE type = AT_NONE;
    std::vector<CString> vectorNames;
    std::vector<bool> vectorIsComplex;
    /// Index into vectorNames of the plot's scale (its x: time, frequency,
    /// sweep value); -1 when the plot has none, as an operating point.
    int scaleIndex = -1;

    /// Index of the vector called `name`, ignoring case (SPICE names are
    /// case-insensitive); -1 when there is none.
    int FindVector(const CString& name) const;
};

/// One row of plot data: a value per vector, in the order of the plot's
/// vectorNames (imaginary parts 0 for real vectors).
struct CANAL_EXPORT CSpiceDataRow {
    std::vector<double> real;
    std::vector<double> imag;

    /// The x value of this row: the scale vector's real part, 0 when the plot
    /// has no scale or the row is short.
    double GetScaleValue(const CSpicePlotInfo& plot) const;
};

class CSpiceSession;

/// Arguments of a plot callback. Kind 1 begin plot (CSpicePlotInfo),
/// 2 data (CSpiceDataRow), 3 end plot (CSpicePlotInfo), 4 stop poll
/// (CSpiceSession). The payload is borrowed for the duration of the call.
class CANAL_EXPORT CSpiceArgs {
public:
    enum Kind { None = 0, BeginPlot = 1, Data = 2, EndPlot = 3, StopPoll = 4 };

    CSpiceArgs() = default;
    CSpiceArgs(Kind kind, const void* payload) : kind_(kind), payload_(payload) {}

    Kind GetKind() const { return kind_; }
    bool HasPayload() const { return payload_ != nullptr; }
    const CSpicePlotInfo* GetPlotInfo() const {
        return kind_ == BeginPlot || kind_ == EndPlot ? static_cast<const CSpicePlotInfo*>(payload_)
                                                      : nullptr;
    }
    const CSpiceDataRow* GetDataRow() const {
        return kind_ == Data ? static_cast<const CSpiceDataRow*>(payload_) : nullptr;
    }
    CSpiceSession* GetSession() const {
        return kind_ == StopPoll ? static_cast<CSpiceSession*>(const_cast<void*>(payload_))
                                 : nullptr;
    }

private:
    Kind kind_ = None;
    const void* payload_ = nullptr;
};
