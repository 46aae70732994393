// The netlist rewrite that puts a probe source on every component pin.
#include "host/ngspice/pin_probes.h"

#include "host/ngspice/dialect.h"

#include <cctype>

namespace host {
namespace {

constexpr const char* kSourcePrefix = "vcanalpin_";
constexpr const char* kNodePrefix = "canalpin_";

struct NodeCount {
    char letter;
    int fewest, most;
    bool modelEnds; ///< the nodes end where a model name stands (else after `most`)
};

// Node counts per device letter; "modelEnds" kinds may omit optional nodes (a BJT's substrate).
constexpr NodeCount kNodeCounts[] = {
    {'r', 2, 2, false}, {'c', 2, 2, false}, {'l', 2, 2, false}, {'v', 2, 2, false},
    {'i', 2, 2, false}, {'d', 2, 2, true},  {'q', 3, 5, true},  {'m', 4, 7, true},
    {'j', 3, 3, true},  {'z', 3, 3, true},
};

bool StartsWithNoCase(const std::string& s, const char* prefix) {
    return Lower(s.substr(0, std::char_traits<char>::length(prefix))) == prefix;
}

// The number of node tokens after the name, or 0 when the card is not one to probe.
std::size_t NodesOf(const std::vector<std::string>& tokens, const std::set<std::string>& models) {
    const char letter = static_cast<char>(std::tolower(static_cast<unsigned char>(tokens[0][0])));
    if (letter == 'x') {
        // x1 n1 n2 ... SUBCKT [params: a=1 b=2]: the subcircuit is the last plain word.
        std::size_t last = 0;
        for (std::size_t i = 1; i < tokens.size(); ++i) {
            const std::string t = Lower(tokens[i]);
            if (t == "params:" || t.find('=') != std::string::npos)
                break;
            last = i;
        }
        return last >= 2 ? last - 1 : 0;
    }
    for (const NodeCount& n : kNodeCounts) {
        if (n.letter != letter)
            continue;
        if (!n.modelEnds)
            return tokens.size() > static_cast<std::size_t>(n.most) ? n.most : 0;
        for (int k = n.fewest; k <= n.most && static_cast<std::size_t>(k) + 1 < tokens.size(); ++k)
            if (models.count(Lower(tokens[static_cast<std::size_t>(k) + 1])))
                return static_cast<std::size_t>(k);
        return 0;
    }
    return 0;
}

// Lines with continuation cards ("+ ...") joined onto the card they continue.
std::vector<std::string> JoinedCards(const std::vector<std::string>& deck) {
    std::vector<std::string> cards;
    for (const std::string& line : deck) {
        const std::string t = Trim(line);
        if (!cards.empty() && cards.size() > 1 && !t.empty() && t.front() == '+')
            cards.back() += " " + t.substr(1);
        else
            cards.push_back(line);
    }
    return cards;
}

} // namespace

ProbedDeck InsertPinProbes(const std::vector<std::string>& deck,
                           const std::set<std::string>& models) {
    ProbedDeck out;
    const std::vector<std::string> cards = JoinedCards(deck);
    int blockDepth = 0; // inside .subckt or .control
    for (std::size_t c = 0; c < cards.size(); ++c) {
        const std::string& card = cards[c];
        const std::string t = Trim(card);
        const std::string lower = Lower(t);
        if (c == 0 || t.empty() || t[0] == '*' || t[0] == '.' || blockDepth > 0 ||
            !std::isalpha(static_cast<unsigned char>(t[0]))) {
            if (StartsWithNoCase(lower, ".subckt") || StartsWithNoCase(lower, ".control"))
                ++blockDepth;
            else if ((StartsWithNoCase(lower, ".ends") || StartsWithNoCase(lower, ".endc")) &&
                     blockDepth > 0)
                --blockDepth;
            out.lines.push_back(card);
            continue;
        }
        std::vector<std::string> tokens = Tokens(t);
        const std::size_t nodes = NodesOf(tokens, models);
        if (nodes == 0 || tokens.size() <= nodes) {
            out.lines.push_back(card);
            continue;
        }
        const std::string component = Lower(tokens[0]);
        std::vector<std::string> probes;
        for (std::size_t p = 1; p <= nodes; ++p) {
            const std::string suffix = component + "_" + std::to_string(p);
            const std::string node = kNodePrefix + suffix;
            const std::string source = kSourcePrefix + suffix;
            probes.push_back(source + " " + tokens[p] + " " + node + " 0");
            tokens[p] = node;
            out.probes.push_back({source, component, static_cast<int>(p)});
        }
        std::string rewritten = tokens[0];
        for (std::size_t i = 1; i < tokens.size(); ++i)
            rewritten += " " + tokens[i];
        out.lines.push_back(std::move(rewritten));
        out.lines.insert(out.lines.end(), probes.begin(), probes.end());
    }
    return out;
}

std::string PinCurrentVectorName(const PinProbe& probe) {
    return "x" + probe.component + ".pinvoltagev--" + std::to_string(probe.pin) + "#branch";
}

std::map<std::string, std::string> PinCurrentRenames(const std::vector<PinProbe>& probes) {
    std::map<std::string, std::string> renames;
    for (const PinProbe& p : probes)
        renames.emplace(p.source + "#branch", PinCurrentVectorName(p));
    return renames;
}

bool IsProbeName(const std::string& name) {
    return StartsWithNoCase(name, kSourcePrefix) || StartsWithNoCase(name, kNodePrefix);
}

} // namespace host
