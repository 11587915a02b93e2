# bash completion for xopolicy: its commands, their verbs, and the options of
# the command typed so far. The commands and verbs are listed here, as
# `xopolicy --help` and `xopolicy COMMAND --help` show them; the options are
# read from the tool's own help, so that they are always the ones it takes.

_xopolicy_commands="init export apply domain realm rule policy link response attr agent scheme
userdir odbcquery admin group user rename command audit commands store login logout"

# The verbs of a command; nothing for a command that takes none.
_xopolicy_verbs() {
  local nouns="add get list update delete rename"
  case $1 in
    domain) echo "$nouns add-userdir remove-userdir search-order add-admin remove-admin admins" ;;
    realm) echo "$nouns flush" ;;
    policy) echo "$nouns add-user remove-user users" ;;
    group) echo "$nouns add-member remove-member members" ;;
    rule | response | agent | scheme | userdir | odbcquery | admin) echo "$nouns" ;;
    link | attr) echo "add get list update delete" ;;
    user) echo "list get disable enable set-password flush" ;;
    store) echo "info copy set-session-idle" ;;
  esac
}

# Every long option that `xopolicy WORDS... --help` lists.
_xopolicy_options() {
  "${COMP_WORDS[0]}" "$@" --help 2>/dev/null |
    sed -n 's/^ \{1,\}\(-[^ ]*\).*/\1/p' | tr ',' '\n' | grep -- '^--'
}

_xopolicy() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $prev in
    --store | --output | -o)
      # A file (the store, or where an export goes): bash's own completion.
      return
      ;;
    --admin | --domain | --realm | --password | --new-password | --by | --object | --since)
      return
      ;;
  esac

  # The command and verb typed so far, among options and their values.
  local word command="" verb="" i
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if [ -z "$command" ]; then
      [[ " ${_xopolicy_commands//$'\n'/ } " == *" $word "* ]] && command=$word
    elif [ -z "$verb" ]; then
      [[ " $(_xopolicy_verbs "$command") " == *" $word "* ]] && verb=$word
    fi
  done

  if [[ $cur == -* ]]; then
    local path=()
    [ -n "$command" ] && path+=("$command")
    [ -n "$verb" ] && path+=("$verb")
    mapfile -t COMPREPLY < <(compgen -W "$(_xopolicy_options "${path[@]}")" -- "$cur")
  elif [ -z "$command" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$_xopolicy_commands" -- "$cur")
  elif [ -z "$verb" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_xopolicy_verbs "$command")" -- "$cur")
  fi
}

complete -o default -F _xopolicy xopolicy
