#pragma once
// The web content process itself.
class PMProcess {
public:
    virtual ~PMProcess() = default;
    // Ends the process at once with the status.
    virtual void exitProcess(int status) = 0;
};
