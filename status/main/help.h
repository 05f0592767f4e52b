// The text of --help.
#pragma once

namespace status {

inline constexpr char kHelp[] =
    "Usage: brennik-status [OPTION]... [COMMAND [ARGUMENT]...]\n"
    "Tells whether a gateway's data reach the cloud, and if not, why. Reads only.\n"
    "The verdict is printed when no command is given.\n\n"
    "Options, before or after the command:\n"
    "  --root DIR              look at the copy of a gateway or of its card in DIR\n"
    "  --grace S               for so long after a start no accepted file is expected (300)\n"
    "  --monitor               one line for monitoring systems\n"
    "  --json                  everything as JSON; also for config\n"
    "  --metrics [FILE]        metrics for Prometheus, to FILE or to standard output\n"
    "  --warning-age RANGE     seconds since the newest accepted file: warning\n"
    "  --critical-age RANGE    the same: critical\n"
    "  --warning-pending RANGE   number of files that wait: warning\n"
    "  --critical-pending RANGE  the same: critical\n"
    "  --version               the same as the command version\n"
    "  --help                  this text\n\n"
    "Commands:\n"
    "  config [DIR]            check the configuration before a restart; DIR is a copy of\n"
    "                          the gateway's tree or of /tessel/Config\n"
    "  log                     both logs as one stream\n"
    "    --since T             from this time on: RFC 3339, or YYYY-MM-DD hh:mm[:ss] in\n"
    "                          local time\n"
    "    --level L             at least INFO, WARN, ERROR or FATAL\n"
    "    --follow              go on with new records until it is stopped\n"
    "  explain [CODE|TEXT]     what a code or a message means and what to do; alone: all codes\n"
    "    --markdown            the tables of the manual\n"
    "  file NAME               one file's life from packing to acceptance\n"
    "  gaps                    when files are missing: an hour a cell\n"
    "    --days N              how many days (31)\n"
    "  wait --accepted         wait until a file made after now is accepted\n"
    "    --timeout S           for so long, 0 for ever (600)\n"
    "  report FILE.tar.gz      everything in one archive, for help from afar\n"
    "  version                 version, commit, build, libraries\n\n"
    "Exit status: 0 all normal, 1 warning, 2 critical, 3 unknown or bad arguments.\n"
    "See brennik-status(8).\n";

}  // namespace status
