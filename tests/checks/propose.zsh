# SPDX-License-Identifier: MIT
# Types a line into an interactive zsh that completes qnget, and prints what it
# lists, a word a line.
# usage: zsh -f propose.zsh FOLDER LINE
zmodload zsh/zpty
zpty shell 'TERM=dumb exec zsh -f -i'
zpty -w shell "
  stty rows 200 columns 200
  fpath=(${(q)1} \$fpath)
  autoload -U compinit; compinit -u -D
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
