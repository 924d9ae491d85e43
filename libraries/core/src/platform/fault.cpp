#include "platform/fault_p.h"

#include <cstdlib>
#include <exception>
#include <memory>

#include <cxxabi.h>

// The compiler's C++ run-time library fills the place of a pure virtual function with it. Visible, so that
// shared libraries come here as well.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" [[gnu::visibility("default")]] void __cxa_pure_virtual()
{
    if (platform::faultHandlers().pureCall != nullptr)
        platform::faultHandlers().pureCall();
    std::terminate();
}

namespace platform
{

namespace
{

constinit FaultHandlers installedHandlers = {};
constinit std::terminate_handler previousTerminate = nullptr;

[[noreturn]] void handleTerminate()
{
    const std::type_info *type = abi::__cxa_current_exception_type();
    // Without an exception somebody only wants the end, and that is the way of abort.
    if (type != nullptr && installedHandlers.fault != nullptr) {
        handOverFromHere(Fault{thrownObjectCode, nullptr, type});
        installedHandlers.fault = nullptr; // the same failure comes again as an abort
    }
    if (previousTerminate != nullptr)
        previousTerminate();
    std::abort();
}

}

FaultHandlers &faultHandlers()
{
    return installedHandlers;
}

void installTerminateHandler()
{
    previousTerminate = std::set_terminate(handleTerminate);
}

void removeTerminateHandler()
{
    if (std::get_terminate() == handleTerminate)
        std::set_terminate(previousTerminate);
}

QString typeName(const std::type_info &type)
{
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr), std::free);
    return QString::fromLatin1(name ? name.get() : type.name());
}

}
