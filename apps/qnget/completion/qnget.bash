# Completion of qnget for bash: options, what belongs behind them, the commands
# of the settings with their keys, and the operators that have settings.
# shellcheck shell=bash

# The folder of the settings; --root, if it is among the words, names another.
_qnget_folder() {
  local i folder=${XDG_CONFIG_HOME:-}
  [[ $folder == /* ]] || folder=~/.config
  folder+=/qnget
  for ((i = 1; i + 1 < ${#COMP_WORDS[@]}; i++)); do
    [[ ${COMP_WORDS[i]} == --root ]] || continue
    folder=${COMP_WORDS[i + 1]}
    [[ $folder != "=" ]] || folder=${COMP_WORDS[i + 2]-}
  done
  printf '%s\n' "${folder/#\~\//$HOME/}"
}

_qnget_operators() {
  local file
  for file in "$(_qnget_folder)"/operator-*.ini; do
    [[ -e $file ]] || continue
    file=${file##*/operator-}
    printf '%s\n' "${file%.ini}"
  done
}

# Words that are no files.
_qnget_reply() { # WORD...
  compopt +o default 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -W "$*" -- "$cur")
}

# What belongs behind an option; false if nothing does. Without a reply bash
# completes a file's name.
_qnget_value() { # OPTION
  case $1 in
    -X | --method) _qnget_reply GET HEAD POST PUT ;;
    --charset) _qnget_reply 3 4 106 1000 1015 ;;
    --content-type) _qnget_reply application/vnd.wap.mms-message application/x-www-form-urlencoded ;;
    --operator) _qnget_reply "$(_qnget_operators)" ;;
    --root) compopt +o default -o dirnames 2>/dev/null || true ;;
    -o | --output | --data | --trace) ;;
    -p | --proxy | --user-agent | --profile | --accept | --accept-language | --timeout | --retry | \
      --retry-delay) _qnget_reply ;;
    *) return 1 ;;
  esac
}

# The words before the cursor that are neither options nor their values.
_qnget_arguments() {
  local i cur='' COMPREPLY
  for ((i = 1; i < COMP_CWORD; i++)); do
    if _qnget_value "${COMP_WORDS[i]}"; then
      i=$((i + 1))
      [[ ${COMP_WORDS[i]-} != "=" ]] || i=$((i + 1))
    elif [[ ${COMP_WORDS[i]} != -* ]]; then
      printf '%s\n' "${COMP_WORDS[i]}"
    fi
  done
}

_qnget() {
  local cur=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} arguments
  # Of "--name=value" bash makes three words.
  if [[ $cur == "=" ]]; then
    cur=''
  elif [[ $before == "=" ]] && ((COMP_CWORD > 2)); then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  _qnget_value "$before" && return
  mapfile -t arguments < <(_qnget_arguments)

  case ${arguments[0]-},$cur in
    config,-*) _qnget_reply --root --operator --help ;;
    *,-*)
      _qnget_reply --method --proxy --no-proxy --data --content-type --user-agent --profile --accept \
        --accept-language --output --remote-name --fail --silent --info --raw --charset --trace \
        --timeout --retry --retry-delay --cache --cache-list --cache-clear --root --operator --help \
        --version
      ;;
    ,*) _qnget_reply config ;;
    config,*)
      case ${#arguments[@]},${arguments[1]-} in
        1,*) _qnget_reply set get list unset ;;
        2,set | 2,get | 2,unset)
          _qnget_reply proxy user-agent profile accept accept-language timeout
          ;;
        *) _qnget_reply ;;
      esac
      ;;
    *) _qnget_reply ;;
  esac
}

complete -o default -F _qnget qnget
