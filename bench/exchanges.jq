# SPDX-License-Identifier: MIT
# The rounds of the exchanges as two tables for the chart, straight to the origin
# and through a proxy: a line for each exchange, with what each contender's CPU
# is beside that of the loop, and the goals of the library's two. An exchange that
# not all contenders made has no line.
def median: sort | (.[(length - 1) / 2 | floor] + .[length / 2 | floor]) / 2;

# Of the same rounds; null where the contender did not run.
def beside($peer):
  if . == null or $peer == null then null
  else [[.cpu, $peer.cpu] | transpose[] | .[0] / .[1]] | median end;

["loop 64 KB", "curl reused", "curl fresh", "qnstack 4 KB", "qnstack 64 KB"] as $shown
| reduce .benchmarks[] as $run ({};
    ($run.name / "/") as [$exchange, $way, $contender]
    | .[$way][$exchange][$contender] |= {cpu: (.cpu + [$run.cpu_time]), goal: $run.goal})
| (.direct, .proxy)
| (to_entries[]
    | .value as $of
    | [.key, ($of[$shown[]] | beside($of["loop 2 KB"])), $of[$shown[3:][]].goal]
    | select(all(. != null)) | @tsv),
  "\n"
