// Agents.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddAgent(PolicyApiSession* /*handle*/, AgentRecord* /*agent*/,
                             uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteAgent(PolicyApiSession* /*handle*/, const char* /*agentName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetAgent(PolicyApiSession* /*handle*/, const char* /*agentName*/,
                             AgentRecord** /*list*/) {
  return XO_ERR_GENERAL;
}
