# SPDX-License-Identifier: MIT
# Types a line into an interactive zsh that completes qnget, and prints what it
# lists, a word a line. DUMP is a file in which zsh keeps what completes what, since
# looking for that takes half a second.
# usage: zsh -f propose.zsh FOLDER LINE DUMP
zmodload zsh/zpty
zpty shell 'TERM=dumb exec zsh -f -i'
zpty -w shell "
  stty rows 200 columns 200
  fpath=(${(q)1} \$fpath)
  autoload -U compinit; compinit -u -C -d ${(q)3}
  zstyle ':completion:*' verbose no
  bindkey '^I' list-choices
  unsetopt prompt_sp
  PS1=rea'dy>'"
zpty -r shell seen '*ready>*'
# The list is out before the next line is read.
zpty -w -n shell "$2"$'\t\025'"print E''ND"$'\n'
zpty -r shell seen '*END*'
seen=${${seen#*$'\n'}%%ready>*}
print -rl -- ${=seen//$'\r'}
