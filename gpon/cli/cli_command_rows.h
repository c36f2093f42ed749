// Makes rows of a CliCommand table of the lines of a file of commands:
//
//   const CliCommand port_cmds[] = {
//   #include "commands/pon_port.def"
//   };
//
// The form of the files is told in commands/README.md. For .cpp files only.
#pragma once

#include "cli_setting.h"
#include "kavo_cmd_rows.h"

using namespace cli_setting_values;

#undef GPON_CMD
#define GPON_CMD(handler, nodes, syntax, help) {{nodes, syntax, help, handler}, {}},
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define GPON_SETTING(handler, nodes, syntax, help, object_, column_, value_, failure_, ...)                  \
    {{nodes, syntax, help, cli_setting_cli},                                                                 \
     {.object = &object_,                                                                                    \
      .column = column_,                                                                                     \
      .value = value_,                                                                                       \
      .failure = failure_ __VA_OPT__(, ) __VA_ARGS__}},
