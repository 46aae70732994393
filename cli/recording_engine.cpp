// The recording engine of `canal plan`.
#include "cli/recording_engine.h"

namespace cli {

RecordingEngine::RecordingEngine() {
    SetSimulatorSnapIn(&snapIn_);
}

int RecordingEngine::SilentExecuteSimulatorCommand(CString command) {
    requests_.push_back("exec: " + command.str());
    return 1;
}

int RecordingEngine::SnapIn::SetProperty(long id, const IITVariant& names, const IITVariant& value,
                                         CTreeInstance*) {
    std::string line = "param " + std::to_string(id);
    if (const CStringArray* list = names.GetStringArray())
        for (const CString& name : *list)
            line += " " + (name.IsEmpty() ? std::string("-") : name.str());
    const CPropertyItem* item = value.GetPropertyItem();
    line += " = " + (item ? item->GetValue() : value.GetString()).str();
    engine_.requests_.push_back(std::move(line));
    return 1;
}

} // namespace cli
