// User-defined analysis: persistence of the command block.
#include "analyses/single/user.h"

void Analyses::User::reset() {
    Analysis::reset();
    commands_.Empty();
}

std::span<const PropertyKeys::Key<Analyses::User>> Analyses::User::Keys() {
    static constexpr PropertyKeys::Key<User> keys[] = {
        PropertyKeys::Field<&User::commands_>("USER_CMD"),
    };
    return keys;
}
