#include "InterruptHandler.h"

#include <mutex>
#include <utility>

namespace {

std::mutex s_mutex;
std::function<void()>* s_function = nullptr;  // of the object that has not been called yet

}  // namespace

InterruptHandler::InterruptHandler(std::function<void()> onInterrupt) : m_onInterrupt(std::move(onInterrupt))
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_function = &m_onInterrupt;
}

InterruptHandler::~InterruptHandler()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    if (s_function == &m_onInterrupt)
        s_function = nullptr;
}

bool InterruptHandler::takesInterrupt()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    std::function<void()>* const function = std::exchange(s_function, nullptr);
    if (function)
        (*function)();
    return function;
}
