// DC operating point: the one-line command.
#include "analyses/single/op.h"

#include "analyses/core/analysis_text.h"

CString Analyses::Op::toNutmegCommandHelper() const {
    return CommandHead("op");
}
