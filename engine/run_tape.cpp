// Recording and playing back a run's plot events, answers and failure messages.
#include "engine/run_tape.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

// One byte before every item says what follows.
enum Item : char {
    BeginItem = 'B',
    DataItem = 'D',
    EndItem = 'E',
    AnswerItem = 'A',
    NoteItem = 'M'
};

// How a row's imaginary parts were sent: none at all, all zero (as many as real parts), or listed.
enum Imag : char { ImagNone = 0, ImagZero = 1, ImagListed = 2 };

} // namespace

CRunTape CRunTape::FromBytes(std::string_view bytes) {
    CRunTape tape;
    tape.bytes_.assign(bytes.data(), bytes.size());
    return tape;
}

CRunTape CRunTape::Failed(const std::string& message) {
    CRunTape tape;
    tape.RecordMessage(CString(message));
    return tape;
}

void CRunTape::PutText(const CString& text) {
    const auto n = static_cast<uint32_t>(text.GetLength());
    Put(&n, sizeof n);
    Put(text.c_str(), n);
}

bool CRunTape::Get(void* p, size_t n) {
    if (bytes_.size() - pos_ < n) {
        pos_ = bytes_.size();
        return false;
    }
    std::memcpy(p, bytes_.data() + pos_, n);
    pos_ += n;
    return true;
}

bool CRunTape::GetText(CString& text) {
    uint32_t n = 0;
    if (!Get(&n, sizeof n) || bytes_.size() - pos_ < n) {
        pos_ = bytes_.size();
        return false;
    }
    text = CString(std::string(bytes_.data() + pos_, n));
    pos_ += n;
    return true;
}

void CRunTape::RecordEvent(const EventData& data) {
    const CSpiceArgs* args = data.value.GetSpiceArgsPtr();
    if (!args || !args->HasPayload())
        return;
    if (data.id == EVENT_BEGIN_PLOT && args->GetKind() == CSpiceArgs::BeginPlot) {
        const CSpicePlotInfo& plot = *args->GetPlotInfo();
        const char item = BeginItem;
        Put(&item, 1);
        PutText(plot.name);
        PutText(plot.title);
        const auto type = static_cast<int32_t>(plot.type);
        Put(&type, sizeof type);
        const auto count = static_cast<uint32_t>(plot.vectorNames.size());
        Put(&count, sizeof count);
        for (size_t i = 0; i < plot.vectorNames.size(); ++i) {
            PutText(plot.vectorNames[i]);
            const char complex = i < plot.vectorIsComplex.size() && plot.vectorIsComplex[i];
            Put(&complex, 1);
        }
        const auto scale = static_cast<int32_t>(plot.scaleIndex);
        Put(&scale, sizeof scale);
    } else if (data.id == EVENT_PLOT_DATA && args->GetKind() == CSpiceArgs::Data) {
        const CSpiceDataRow& row = *args->GetDataRow();
        const char item = DataItem;
        Put(&item, 1);
        const auto count = static_cast<uint32_t>(row.real.size());
        Put(&count, sizeof count);
        Put(row.real.data(), row.real.size() * sizeof(double));
        char imag = ImagListed;
        if (row.imag.empty())
            imag = ImagNone;
        else if (row.imag.size() == row.real.size() &&
                 std::all_of(row.imag.begin(), row.imag.end(), [](double v) {
                     // Bit for bit zero: a negative zero is listed.
                     uint64_t bits = 0;
                     std::memcpy(&bits, &v, sizeof bits);
                     return bits == 0;
                 }))
            imag = ImagZero;
        Put(&imag, 1);
        if (imag == ImagListed) {
            const auto n = static_cast<uint32_t>(row.imag.size());
            Put(&n, sizeof n);
            Put(row.imag.data(), row.imag.size() * sizeof(double));
        }
    } else if (data.id == EVENT_END_PLOT && args->GetKind() == CSpiceArgs::EndPlot) {
        const char item = EndItem;
        Put(&item, 1);
    }
}

void CRunTape::RecordAnswer(int answer) {
    const char item = AnswerItem;
    Put(&item, 1);
    const auto value = static_cast<int32_t>(answer);
    Put(&value, sizeof value);
}

void CRunTape::RecordMessage(const CString& message) {
    const char item = NoteItem;
    Put(&item, 1);
    PutText(message);
}

int CRunTape::PlayCommand(CEventSink* sink, const std::function<void(const CString&)>& note) {
    const auto send = [&](long id, const CSpiceArgs& args) {
        if (!sink)
            return;
        const EventData data{id, IITVariant(&args)};
        sink->HandleEventIndirect(&source_, &data);
    };
    char item = 0;
    while (Get(&item, 1)) {
        switch (item) {
        case BeginItem: {
            CSpicePlotInfo plot;
            int32_t type = 0;
            uint32_t count = 0;
            if (!GetText(plot.name) || !GetText(plot.title) || !Get(&type, sizeof type) ||
                !Get(&count, sizeof count))
                return 0;
            plot.type = static_cast<ANALYSIS_TYPE>(type);
            for (uint32_t i = 0; i < count; ++i) {
                CString name;
                char complex = 0;
                if (!GetText(name) || !Get(&complex, 1))
                    return 0;
                plot.vectorNames.push_back(name);
                plot.vectorIsComplex.push_back(complex != 0);
            }
            int32_t scale = -1;
            if (!Get(&scale, sizeof scale))
                return 0;
            plot.scaleIndex = scale;
            plot_ = std::move(plot);
            send(EVENT_BEGIN_PLOT, CSpiceArgs(CSpiceArgs::BeginPlot, &plot_));
            break;
        }
        case DataItem: {
            uint32_t count = 0;
            if (!Get(&count, sizeof count) || (bytes_.size() - pos_) / sizeof(double) < count)
                return 0;
            row_.real.resize(count);
            Get(row_.real.data(), count * sizeof(double));
            char imag = ImagNone;
            if (!Get(&imag, 1))
                return 0;
            if (imag == ImagNone) {
                row_.imag.clear();
            } else if (imag == ImagZero) {
                row_.imag.assign(count, 0.0);
            } else {
                uint32_t n = 0;
                if (!Get(&n, sizeof n) || (bytes_.size() - pos_) / sizeof(double) < n)
                    return 0;
                row_.imag.resize(n);
                Get(row_.imag.data(), n * sizeof(double));
            }
            send(EVENT_PLOT_DATA, CSpiceArgs(CSpiceArgs::Data, &row_));
            break;
        }
        case EndItem:
            send(EVENT_END_PLOT, CSpiceArgs(CSpiceArgs::EndPlot, &plot_));
            break;
        case NoteItem: {
            CString message;
            if (!GetText(message))
                return 0;
            if (note)
                note(message);
            break;
        }
        case AnswerItem: {
            int32_t answer = 0;
            return Get(&answer, sizeof answer) ? answer : 0;
        }
        default:
            pos_ = bytes_.size();
            return 0;
        }
    }
    return 0;
}
