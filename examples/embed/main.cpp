// A host application that embeds canal: it keeps a circuit's analyses as canal's collection,
// loads them from the circuit's stored "ANALYSES" item, runs the Monte Carlo analysis on
// libngspice through an engine of its own and prints the statistics from the result pages.
//
//   canal-embed CIRCUIT ANALYSES [--seed N]
//
// Built against an installed canal, with CMake (find_package(canal), see CMakeLists.txt) or with
// pkg-config:
//
//   g++ -std=c++20 main.cpp $(pkg-config --cflags --libs canal-ngspice) -o canal-embed
#include "analyses/compound/wcmc_analysis.h"
#include "analyses/core/analyses.h"
#include "host/ngspice/engine.h"
#include "host/ngspice/session.h"
#include "platform/property.h"
#include "platform/random.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

// The host's own engine: the ngspice engine with the host's hooks. It collects the simulator's
// messages for its own log instead of letting them go anywhere else, and it ends a run that
// outlasts the host's time budget, as an editor's stop button would.
class HostEngine : public host::NgSpiceEngine {
public:
    HostEngine(host::NgSpiceSession& session, std::chrono::seconds budget)
        : NgSpiceEngine(session), deadline_(std::chrono::steady_clock::now() + budget) {}

    void OutputString(const CString& text, OUTPUT_TYPE type) override {
        log_.push_back(text.str());
        NgSpiceEngine::OutputString(text, type);
    }

    // Asked between the inner runs and between data rows of each run.
    int WantStopNow() override {
        ++polls_;
        if (std::chrono::steady_clock::now() > deadline_)
            return 1;
        return NgSpiceEngine::WantStopNow();
    }

    const std::vector<std::string>& Log() const { return log_; }
    long Polls() const { return polls_; }

private:
    std::chrono::steady_clock::time_point deadline_;
    std::vector<std::string> log_;
    long polls_ = 0;
};

bool ReadFile(const std::string& path, std::string& text) {
    std::ifstream in(path);
    if (!in)
        return false;
    std::ostringstream all;
    all << in.rdbuf();
    text = all.str();
    return true;
}

int Fail(const std::string& message) {
    std::cerr << "canal-embed: " << message << '\n';
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 && !(argc == 5 && std::string(argv[3]) == "--seed"))
        return Fail("usage: canal-embed CIRCUIT ANALYSES [--seed N]");
    const std::string circuitPath = argv[1];
    const std::string analysesPath = argv[2];
    // Every random stream of the collection comes from the master seed, so a seed repeats a
    // Monte Carlo run exactly.
    Random::SetMasterSeed(argc == 5 ? std::strtoull(argv[4], nullptr, 10)
                                    : Random::kDefaultMasterSeed);

    // The circuit goes to the process's one ngspice session; the engine borrows the session.
    HostEngine engine(host::NgSpiceSession::Get(), std::chrono::seconds(60));
    std::string error;
    if (!engine.LoadCircuitFile(circuitPath, error))
        return Fail(circuitPath + ": " + error);

    // The collection of the circuit's analyses, loaded from its stored item.
    std::string stored;
    if (!ReadFile(analysesPath, stored))
        return Fail(analysesPath + ": cannot read");
    CPropertyList file;
    if (const PropertyParseResult parsed = file.Parse(stored); !parsed.ok)
        return Fail(analysesPath + ": " + parsed.message.str() + " at byte " +
                    std::to_string(parsed.position));
    const auto item = std::find_if(file.begin(), file.end(), [](const CPropertyItem& i) {
        return i.GetLabel() == Analyses::s_GetPropertyLabel();
    });
    if (item == file.end())
        return Fail(analysesPath + ": no ANALYSES item");
    Analyses analyses(&engine);
    if (!analyses.fromPropertyItem(*item, 0))
        std::cerr << "canal-embed: " << analysesPath << ": some settings were not taken\n";

    Analyses::Monte& monte = analyses.GetMonte();
    if (!monte.CanSimulate())
        return Fail("the Monte Carlo analysis cannot run: " +
                    monte.ExplainWhyCannotSimulate().str());
    std::cout << "Monte Carlo of " << monte.GetOutputVariable().str() << ", " << monte.GetNumRuns()
              << " runs, " << monte.GetTolSpecList().GetCount() << " tolerances\n";

    // The analysis's script holds one "orvo MONTE ..." request; the engine hands it back to
    // the analysis, which drives ngspice run by run through the same engine.
    const CString script = monte.toNutmegCommand(Analyses::Analysis::NT_COMMAND);
    const host::RunResult result = engine.Run(script.str(), &analyses);
    for (const std::string& line : engine.Log())
        std::cout << "ngspice: " << line << '\n';
    if (!result.ok)
        return Fail("the run failed: " + result.error);

    // The statistics are the chart logs of the analysis's result pages.
    int logs = 0;
    for (const CGrapherPage& page : engine.GetGrapherPages()) {
        std::cout << "page: " << page.GetTitle().str() << " (" << page.GetTraces().size()
                  << " traces)\n";
        for (const ChartLog& log : page.GetChartLogs()) {
            std::cout << log.ToText();
            ++logs;
        }
    }
    std::cout << "stop polls answered by the host: " << engine.Polls() << '\n';
    return logs ? 0 : Fail("the analysis reported nothing");
}
