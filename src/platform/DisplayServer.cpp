#include "platform/DisplayServer.h"

DisplayServer::~DisplayServer() = default;
