// `canal plan`: runs an analysis against the recording engine and prints its requests.
#include "cli/plan.h"

#include "cli/commands.h"
#include "cli/recording_engine.h"
#include "cli/settings.h"
#include "host/ngspice/dialect.h"
#include "platform/helpers.h"
#include "platform/random.h"
#include "platform/resources.h"

#include <algorithm>
#include <ostream>
#include <sstream>

namespace cli {

namespace {

// The statement's first word and the trimmed text after it.
std::pair<std::string, std::string> SplitStatement(const std::string& statement) {
    const size_t end = statement.find_first_of(" \t");
    if (end == std::string::npos)
        return {statement, std::string()};
    return {statement.substr(0, end), host::Trim(std::string_view(statement).substr(end))};
}

} // namespace

std::vector<std::string> PlanLines(const Analyses::Analysis& analysis, int& result) {
    RecordingEngine engine;
    CSPICEdevMember::SetASimEng(engine);
    Analyses analyses(&engine);

    CStringArray pieces;
    DivideStringIntoStatements(analysis.toNutmegCommand(Analyses::Analysis::NT_COMMAND), pieces);
    std::vector<std::string> statements;
    for (const CString& piece : pieces)
        if (std::string text = host::Trim(piece.view()); !text.empty())
            statements.push_back(std::move(text));
    const auto kindOf = [](const std::string& statement) {
        return host::ClassifyStatement(SplitStatement(statement).first);
    };
    const bool compound = std::any_of(statements.begin(), statements.end(), [&](const auto& s) {
        return kindOf(s) == host::StatementKind::Orvo;
    });

    result = 1;
    for (const std::string& statement : statements) {
        const host::StatementKind kind = kindOf(statement);
        if (kind == host::StatementKind::Orvo)
            result = engine.ExecuteCommand(&analyses, SplitStatement(statement).second);
        else if (kind == host::StatementKind::Iplot)
            engine.SetIPlot(SplitStatement(statement).second);
        else if (!compound)
            result = engine.SilentExecuteSimulatorCommand(statement);
        else
            continue;
        if (!result)
            break;
    }

    std::vector<std::string> lines = engine.Requests();
    for (const CGrapherPage& page : engine.GetGrapherPages())
        for (const ChartLog& log : page.GetChartLogs()) {
            std::istringstream text(log.ToText());
            for (std::string line; std::getline(text, line);)
                lines.push_back("log: " + line);
        }
    lines.push_back("result: " + std::to_string(result));
    return lines;
}

int PlanAnalysis(const Invocation& call, std::ostream& out, std::ostream& err) {
    // The seed sequence starts afresh before anything is built, from the given seed or the
    // fixed default, so that the seed a result log names repeats the run exactly.
    uint64_t seed = Random::kDefaultMasterSeed;
    if (!ReadOption(call, "--seed", ParseSeed, IDS_PLAN_ERR_BAD_SEED, seed, err))
        return ExitUsage;
    Random::SetMasterSeed(seed);
    int status = ExitUsage;
    const std::unique_ptr<Analyses::Analysis> analysis =
        LoadAnalysis(call.positionals[0], call.Value("--settings"), err, status);
    if (!analysis)
        return status;
    if (const std::string refused = RefusedTolerance(*analysis); !refused.empty()) {
        ReportError(err,
                    CString::Formatted(GetResourceText(IDS_PLAN_ERR_NOT_ACCEPTABLE),
                                       analysis->GetAnalysisReadableName().c_str(), refused.c_str())
                        .view());
        return ExitUsage;
    }
    if (!analysis->CanSimulate()) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_PLAN_ERR_CANNOT_SIMULATE),
                                            analysis->GetAnalysisReadableName().c_str(),
                                            analysis->ExplainWhyCannotSimulate().c_str())
                             .view());
        return ExitFailure;
    }
    int result = 0;
    for (const std::string& line : PlanLines(*analysis, result))
        out << line << '\n';
    return result ? ExitOk : ExitFailure;
}

} // namespace cli
