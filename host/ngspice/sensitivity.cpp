// Relative sensitivity: the host's own scaling, because ngspice only reports absolute values.
#include "host/ngspice/sensitivity.h"

#include "host/ngspice/dialect.h"
#include "host/ngspice/session.h"
#include "platform/cstring.h"
#include "platform/resources.h"

#include <algorithm>

namespace host {
namespace {

// The operating-point value of a sensitivity output, from a run that leaves no plot behind.
bool OutputValue(NgSpiceSession& session, const std::string& output, const std::string& backTo,
                 double& value, std::vector<std::string>& problems) {
    std::string plus, minus;
    if (!OutputVectors(output, plus, minus))
        return false;
    CommandResult r;
    {
        const NgSpiceSession::ListenerScope quiet(session, nullptr);
        r = session.Command("op");
    }
    if (!r.ok || r.plots.empty())
        return false;
    const std::string& op = r.plots.front();
    auto read = [&](const std::string& vec, double& x) {
        x = 0;
        if (vec.empty() || vec == "0" || vec == "gnd")
            return true;
        VectorData d;
        if (!session.ReadVector(op + "." + vec, d) || d.re.empty())
            return false;
        x = d.re.front();
        return true;
    };
    double a = 0, b = 0;
    const bool ok = read(plus, a) && read(minus, b);
    value = a - b;
    for (const std::string& tidy : {"destroy " + op, "setplot " + backTo}) {
        const CommandResult t = session.Command(tidy);
        if (!t.ok)
            problems.push_back(t.error);
    }
    return ok;
}

} // namespace

std::string PrimaryParameter(std::string_view device) {
    const std::string name = Lower(device);
    if (name.empty() || name.find_first_of("_:#") != std::string::npos)
        return {};
    switch (name.front()) {
    case 'r':
        return "resistance";
    case 'c':
        return "capacitance";
    case 'l':
        return "inductance";
    case 'v':
    case 'i':
        return "dc";
    default:
        return {};
    }
}

bool OutputVectors(std::string_view output, std::string& plus, std::string& minus) {
    const std::string o = Lower(Trim(output));
    if (o.size() < 4 || o[1] != '(' || o.back() != ')')
        return false;
    std::vector<std::string> parts;
    const std::string_view inner = std::string_view(o).substr(2, o.size() - 3);
    for (std::size_t pos = 0;;) {
        const auto comma = inner.find(',', pos);
        parts.push_back(Trim(inner.substr(pos, comma - pos)));
        if (comma == std::string_view::npos)
            break;
        pos = comma + 1;
    }
    if (o[0] == 'i' && parts.size() == 1) {
        plus = parts[0] + "#branch";
        minus.clear();
        return true;
    }
    if (o[0] != 'v')
        return false;
    plus = parts[0];
    minus = parts.size() > 1 ? parts[1] : std::string();
    return true;
}

// d(out)/d(p) * p / out, for every parameter whose value ngspice can be asked for.
bool MakeRelative(NgSpiceSession& session, const std::vector<std::string>& args,
                  const std::string& sensPlot, report::Page& page,
                  std::vector<std::string>& problems) {
    const bool ac = std::find(args.begin(), args.end(), "ac") != args.end();
    double out = 0;
    if (ac || args.empty() || !OutputValue(session, args.front(), sensPlot, out, problems) ||
        out == 0)
        return false;
    std::string dropped;
    VectorData v;
    std::vector<report::Trace> kept;
    kept.reserve(page.traces.size());
    for (auto& t : page.traces) {
        const std::string param = PrimaryParameter(t.name);
        if (param.empty() || !session.ReadVector("@" + Lower(t.name) + "[" + param + "]", v) ||
            v.re.empty()) {
            dropped += (dropped.empty() ? "" : " ") + t.name;
            continue;
        }
        const double scale = v.re.front() / out;
        for (double& x : t.re)
            x *= scale;
        kept.push_back(std::move(t));
    }
    page.traces = std::move(kept);
    page.log.push_back(CString::Formatted(GetResourceText(IDS_HOST_RELATIVE_SENS_DONE), out).str());
    if (!dropped.empty())
        page.log.push_back(std::string(GetResourceText(IDS_HOST_RELATIVE_SENS_DROPPED)) + dropped);
    return true;
}

} // namespace host
