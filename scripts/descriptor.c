// SPDX-License-Identifier: MIT
// Prints the descriptor of a plug-in as the machine that this runs on reads it.
#include "plugin/lumd.h"

#include <dlfcn.h>
#include <stdio.h>

int main(int argc, char **argv)
{
    void *const library = dlopen(argc > 1 ? argv[1] : NULL, RTLD_NOW);
    const lu_plugin_def *const def = library ? dlsym(library, "_lu_plugin_def") : NULL;
    if (!def) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    printf("Descriptor: version %u.%u, name %s, type %s, vendor %s, load %s, unload %s, reserved %u; %zu bytes\n",
           def->version >> 16, def->version & 0xffff, def->name, def->type, def->vendor, def->load ? "set" : "missing",
           def->unload ? "set" : "missing", def->reserved, sizeof *def);
    return 0;
}
