// Handlers of requests whose insides a test may look at.
#pragma once

#include <TDDEInterface.h>

class ExposedInterface : public TDDEInterface {
public:
    using TDDEInterface::BuscarConexioLliure;
    using TDDEInterface::BuscarTopicLliure;
    using TDDEInterface::m_conexions;
    using TDDEInterface::m_dwInstancia;
    using TDDEInterface::m_hszServei;
    using TDDEInterface::m_hszTopics;
    using TDDEInterface::m_pfnCallback;
    using TDDEInterface::m_strServei;
    using TDDEInterface::m_strTopics;
    using TDDEInterface::TDDEInterface;
};
