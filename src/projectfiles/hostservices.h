// What stands behind the host table.
#pragma once

struct HostTable;

// Fills all 34 entries. Those whose services are not there yet answer false. Any thread.
void fillHostTable(HostTable& table);
