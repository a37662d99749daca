# SPDX-License-Identifier: MIT
# How deep the stack can get below each function: the frames of the deepest chain of
# calls summed up. Reads the file of calls that no compiler sees (indirect_calls.txt),
# then the call graphs that GCC writes with -fcallgraph-info=su. Prints for each
# function bytes, name and chain, with tabs between them.
#
# It ends with an error where the sum would not be one: a frame without a bound,
# a call in a source that indirect_calls.txt says nothing of, or calls that come back
# to their beginning and are not bounded there.

function complain(text) {
  print "call_depth: " text >"/dev/stderr"
  failed = 1
}

# The words between quotation marks behind a key.
function value(key,    rest) {
  rest = $0
  if (!sub(".*" key ": \"", "", rest)) return ""
  sub("\".*", "", rest)
  return rest
}

# From "bool {anonymous}::Reserve(QNMemBuffer*, int32_t)\nqn_x.cpp:1:2\n8 bytes (static)".
# What templates are made of is left out.
function name_of(label) {
  sub(/\\n.*/, "", label)
  sub(/ \[with .*/, "", label)
  gsub(/\([^()]*\)::/, "::", label)
  while (gsub(/<[^<>]*>/, "", label)) continue
  sub(/\(.*/, "", label)
  sub(/.* /, "", label)
  return label
}

function base(path) {
  sub(/.*\//, "", path)
  sub(/:.*/, "", path)
  return path
}

FNR == NR && (/^#/ || NF == 0) { next }
FNR == NR && $1 == "again" { again[$2] = $3; next }
FNR == NR { targets[$1] = targets[$1] " " $2; next }

/^node:/ {
  label = value("label")
  if (label !~ / bytes \(/) next
  title = value("title")
  if (label !~ /\((static|dynamic,bounded)\)$/) complain(name_of(label) " has a frame without a bound")
  # GCC says nothing of a function that takes any number of arguments.
  own_name = label ~ /^\)/ ? title : name_of(label)
  frame[title] = label
  sub(/ bytes .*/, "", frame[title])
  sub(/.*\\n/, "", frame[title])
  if (!(title in name)) titles[own_name] = titles[own_name] " " title
  name[title] = own_name
}

/^edge:/ {
  from = value("sourcename")
  to = value("targetname")
  if (to == "__indirect_call") {
    place = base(value("label"))
    if (!(place in targets)) complain("indirect_calls.txt does not say what " place " calls")
    indirect[from] = indirect[from] " " place
  } else if (!index(calls[from] " ", " " to " ")) {
    calls[from] = calls[from] " " to
  }
}

# All that a function calls: what GCC saw, and what indirect_calls.txt tells.
function called_by(title,    places, count, i, list, targets_count, targets_of, j) {
  list = calls[title]
  count = split(indirect[title], places, " ")
  for (i = 1; i <= count; i++) {
    targets_count = split(targets[places[i]], targets_of, " ")
    for (j = 1; j <= targets_count; j++) list = list titles[targets_of[j]]
  }
  return list
}

function depth(title,    list, count, i, deepest, below, own) {
  if (title in known) return known[title]
  if (!(title in frame)) return 0  # of the C library, of APR, or the application's
  if (title in open_calls) {
    complain(name[title] " comes back to itself by others")
    return 0
  }
  open_calls[title] = 1
  own = frame[title]
  count = split(called_by(title), list, " ")
  deepest = 0
  for (i = 1; i <= count; i++) {
    if (list[i] == title) {
      if (!(name[title] in again)) complain(name[title] " calls itself, and nothing says how often")
      own = frame[title] * (1 + again[name[title]])
      continue
    }
    below = depth(list[i])
    if (below > deepest) {
      deepest = below
      next_of[title] = list[i]
    }
  }
  delete open_calls[title]
  cost[title] = own
  return known[title] = own + deepest
}

function chain(title) {
  return name[title] " (" cost[title] ")" (title in next_of ? ", " chain(next_of[title]) : "")
}

END {
  for (title in frame) printf "%d\t%s\t%s\n", depth(title), name[title], chain(title)
  exit failed
}
