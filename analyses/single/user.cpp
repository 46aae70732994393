// User-defined analysis: persistence of the command block.
#include "analyses/single/user.h"

Analyses::User::User(const Analyses* main) : Analysis(main) {
    reset();
}

void Analyses::User::reset() {
    Analysis::reset();
    commands_.Empty();
}

CPropertyList Analyses::User::toPropertyListHelper() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("USER_CMD", commands_));
    return list;
}

int Analyses::User::fromPropertyListHelper(const CPropertyList& list) {
    int result = 1;
    for (const CPropertyItem& item : list) {
        if (item.GetLabel() != "USER_CMD")
            result = 0;
        else if (item.GetTypeOfValue() == CPropertyItem::String)
            commands_ = item.GetString();
    }
    return result;
}
