# SPDX-License-Identifier: MIT
# The rounds of the operations as a table for the chart, from the bottom up: a
# line for each operation and one for the head of each group. Fields: place, text,
# ratio to the best peer, its name, verdict; that of a head is "head".
def median: sort | (.[(length - 1) / 2 | floor] + .[length / 2 | floor]) / 2;

def line:
  (.value | map_values(.cpu | median)) as $medians
  | ($medians | del(.qnstack) | to_entries | min_by(.value)) as $best
  | [.key, $medians.qnstack / $best.value, $best.key, .value.qnstack.verdict];

reduce .benchmarks[] as $run ({};
  ($run.name / "/") as [$group, $operation, $contender]
  | .[$group][$operation][$contender] |= {cpu: (.cpu + [$run.cpu_time]), verdict: $run.label})
| [to_entries[] | [(.key | ascii_upcase), "NaN", "-", "head"], (.value | to_entries[] | line)]
| length as $count
| to_entries[] | [$count - .key, .value[]] | map(tostring | gsub("\""; "")) | join("\t")
