// This file contains the module's entries, called by name by the host's command processor.
#pragma once

extern "C" {
void TCMMODEL();
void TCMAPPLY();
void TCMANLYS();
void TSEXPLOR();
}

// Registers the four entries with their command names on a command processor.
namespace host {
class CommandProcessor;
}
void RegisterTCMEntries(host::CommandProcessor& processor);
