// SPDX-License-Identifier: MIT
// A plug-in with two classes. Defining one of the names below otherwise gives it a fault, and so does
// defining the name of one of the four symbols as another, which takes the symbol away.
#include <orvo/core/Plugin.h>

#include <cstdint>

#ifndef STUB_COUNT
#define STUB_COUNT 2
#endif
#ifndef STUB_CREATE
#define STUB_CREATE create
#endif
#ifndef STUB_DESTROY
#define STUB_DESTROY destroy
#endif
#ifndef STUB_DATE
#define STUB_DATE "1.2.2003"
#endif
#ifndef STUB_INIT
#define STUB_INIT init
#endif
#ifndef STUB_DEINIT
#define STUB_DEINIT deinit
#endif

extern "C" {
// What a host did with the plug-in, in order: i init, d deinit, c create, p postConstruct, x destroy.
extern ORVO_EXPORT char stub_journal[64];
char stub_journal[64] = {};
}

namespace {

void note(char step) {
    char* end = stub_journal;
    while (*end) ++end;
    *end = step;
}

class Stub : public orvo::core::Plugin {
public:
    void postConstruct() override { note('p'); }
};

orvo::core::Plugin* create() {
    note('c');
    return new Stub;
}

[[maybe_unused]] orvo::core::Plugin* createNothing() {
    return nullptr;
}

void destroy(orvo::core::Plugin* plugin) {
    note('x');
    delete plugin;
}

[[maybe_unused]] void init() {
    note('i');
}

[[maybe_unused]] void deinit() {
    note('d');
}

} // namespace

extern "C" {
extern ORVO_EXPORT const std::int32_t plugin_count;
extern ORVO_EXPORT const orvo::core::PluginDescriptor plugin_descriptor[2];
extern ORVO_EXPORT const orvo::core::PluginEntryFunction plugin_init;
extern ORVO_EXPORT const orvo::core::PluginEntryFunction plugin_deinit;

const std::int32_t plugin_count = STUB_COUNT;
const orvo::core::PluginDescriptor plugin_descriptor[2] = {
    {create, destroy, "stub", "description", "vendor", "1.2.2003", 1, 70010, 0},
    {STUB_CREATE, STUB_DESTROY, "stub 2", "description", "vendor", STUB_DATE, 1, 70010, 0}};
const orvo::core::PluginEntryFunction plugin_init = STUB_INIT;
const orvo::core::PluginEntryFunction plugin_deinit = STUB_DEINIT;
}
