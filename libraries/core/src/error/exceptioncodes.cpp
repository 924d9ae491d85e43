#include "error/exceptioncodes.h"

#include <array>

namespace
{

struct NamedCode {
    quint32 code;
    const char *name;
};

constexpr std::array namedCodes = {
    NamedCode{0xC0000005, "ACCESS_VIOLATION"},
    NamedCode{0x80000002, "DATATYPE_MISALIGNMENT"},
    NamedCode{0x80000003, "BREAKPOINT"},
    NamedCode{0x80000004, "SINGLE_STEP"},
    NamedCode{0xC000008C, "ARRAY_BOUNDS_EXCEEDED"},
    NamedCode{0xC000008D, "FLOAT_DENORMAL_OPERAND"},
    NamedCode{0xC000008E, "FLOAT_DIVIDE_BY_ZERO"},
    NamedCode{0xC000008F, "FLOAT_INEXACT_RESULT"},
    NamedCode{0xC0000090, "FLOAT_INVALID_OPERATION"},
    NamedCode{0xC0000091, "FLOAT_OVERFLOW"},
    NamedCode{0xC0000092, "FLOAT_STACK_CHECK"},
    NamedCode{0xC0000093, "FLOAT_UNDERFLOW"},
    NamedCode{0xC0000094, "INTEGER_DIVIDE_BY_ZERO"},
    NamedCode{0xC0000095, "INTEGER_OVERFLOW"},
    NamedCode{0xC0000096, "PRIVILEGED_INSTRUCTION"},
    NamedCode{0xC0000006, "IN_PAGE_ERROR"},
    NamedCode{0xC000001D, "ILLEGAL_INSTRUCTION"},
    NamedCode{0xC0000025, "NONCONTINUABLE_EXCEPTION"},
    NamedCode{0xC00000FD, "STACK_OVERFLOW"},
    NamedCode{0xC0000026, "INVALID_DISPOSITION"},
    NamedCode{0x80000001, "GUARD_PAGE_VIOLATION"},
    NamedCode{0xC0000008, "INVALID_HANDLE"},
    NamedCode{0xC015000F, "SXS_EARLY_DEACTIVATION"},
    NamedCode{0xC0150010, "SXS_INVALID_DEACTIVATION"},
    NamedCode{0xC000001E, "INVALID_LOCK_SEQUENCE"},
};

}

QString exceptionCodeName(quint32 code)
{
    for (const NamedCode &known : namedCodes) {
        if (known.code == code)
            return QString::fromLatin1(known.name);
    }
    return QString();
}
