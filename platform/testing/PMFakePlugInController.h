#pragma once
// A plug-in controller whose connection records what the plug-in sends.
#include "platform/PMPlugInController.h"
#include "PMRecordingMessageConnection.h"

class PMFakePlugInController final : public PMPlugInController {
public:
    PMFakePlugInController() : m_connection(std::make_shared<PMRecordingMessageConnection>()) {}
    std::shared_ptr<PMMessageConnection> connection() override { return m_connection; }
    PMRecordingMessageConnection& recordingConnection() { return *m_connection; }

private:
    std::shared_ptr<PMRecordingMessageConnection> m_connection;
};
