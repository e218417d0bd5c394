#pragma once
// A process that records the exit it was asked for instead of exiting.
#include "platform/PMProcess.h"

#include <optional>

class PMFakeProcess final : public PMProcess {
public:
    void exitProcess(int status) override { m_exitStatus = status; }
    std::optional<int> exitStatus() const { return m_exitStatus; }

private:
    std::optional<int> m_exitStatus;
};
