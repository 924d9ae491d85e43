#include "ostrelletest/ordinaryuser.h"

struct OrdinaryUser::Former {
};

OrdinaryUser::OrdinaryUser() = default;

OrdinaryUser::~OrdinaryUser() = default;

bool OrdinaryUser::isOrdinary() const
{
    return true;
}
