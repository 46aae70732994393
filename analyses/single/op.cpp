// DC operating point: identity and the one-line command.
#include "analyses/single/op.h"

#include <new>

Analyses::Op::Op(const Analyses* main) : Analysis(main) {
    reset();
}

Analyses::Op::Op(const Op& other) = default;

Analyses::Op::~Op() = default;

void Analyses::Op::reset() {
    Analysis::reset();
}

Analyses::Analysis* Analyses::Op::NewInstance() const {
    return new (std::nothrow) Op(GetMainAnalyses());
}

Analyses::Analysis* Analyses::Op::Clone() const {
    return new Op(*this);
}

Analyses::Analysis* Analyses::Op::Clone(Instance*&) const {
    return new Op(*this);
}

CString Analyses::Op::toNutmegCommandHelper() const {
    return CString("op ") + " -env-options ";
}

CPropertyList Analyses::Op::toPropertyListHelper() const {
    return CPropertyList();
}

int Analyses::Op::fromPropertyListHelper(const CPropertyList&) {
    return 1;
}
