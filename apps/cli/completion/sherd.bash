# bash completion for sherd: subcommands, their options, data-type and format
# names, files and folders where an option takes one, and for BACKUP the
# folders here and the backup identifiers in the default backup folders.

_sherd_backup_roots() {
  if [[ -n "${SHERD_BACKUP_ROOT:-}" ]]; then
    printf '%s\n' "$SHERD_BACKUP_ROOT"
  else
    printf '%s\n' "$HOME/.local/share/MobileSync/Backup" "$HOME/MobileSync/Backup"
  fi
}

# Completes the last item of a comma-separated list.
_sherd_list() {
  local words="$1" cur="$2" prefix=""
  [[ "$cur" == *,* ]] && prefix="${cur%,*},"
  COMPREPLY=($(compgen -P "$prefix" -W "$words" -- "${cur##*,}"))
  compopt -o nospace 2>/dev/null
}

_sherd() {
  local cur="${COMP_WORDS[COMP_CWORD]}" prev="${COMP_WORDS[COMP_CWORD-1]}"
  local commands="demo list info scan dump export files extract"
  local types="whatsapp kik line viber messenger wechat qq notes calendar safari calls"
  local formats="html txt json csv ics vcf media"
  COMPREPLY=()
  if [[ $COMP_CWORD -eq 1 ]]; then
    COMPREPLY=($(compgen -W "$commands help --help --version" -- "$cur"))
    return
  fi
  if [[ "${COMP_WORDS[1]}" == help ]]; then
    [[ $COMP_CWORD -eq 2 ]] && COMPREPLY=($(compgen -W "$commands" -- "$cur"))
    return
  fi
  local common="--help --quiet --verbose"
  local backup="--password-file --password"
  local data="--note-password --no-deleted --type"
  local options
  case "${COMP_WORDS[1]}" in
    demo) options="$common --keep --export --encrypt" ;;
    list) options="$common" ;;
    info) options="$common $backup" ;;
    scan) options="$common $backup $data --details" ;;
    dump) options="$common $backup $data" ;;
    export) options="$common $backup $data --out --format" ;;
    files) options="$common $backup --domain --path" ;;
    extract) options="$common $backup --domain --path --out" ;;
    *) return ;;
  esac
  case "$prev" in
    --type) _sherd_list "$types" "$cur"; return ;;
    --format) _sherd_list "$formats" "$cur"; return ;;
    --password-file) COMPREPLY=($(compgen -f -- "$cur")); return ;;
    --keep | --export | --out) COMPREPLY=($(compgen -d -- "$cur")); return ;;
    --password | --note-password | --encrypt | --domain | --path) return ;;
  esac
  if [[ "$cur" == -* ]]; then
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
    return
  fi
  [[ "${COMP_WORDS[1]}" == demo ]] && return
  local root identifiers=""
  while read -r root; do
    [[ -d "$root" ]] && identifiers+=" $(cd "$root" && compgen -d)"
  done < <(_sherd_backup_roots)
  COMPREPLY=($(compgen -d -- "$cur") $(compgen -W "$identifiers" -- "$cur"))
}

complete -o filenames -F _sherd sherd
