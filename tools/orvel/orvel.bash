# bash completion for orvel: commands, their subcommands and the search options; paths
# everywhere else.
_orvel() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local commands="search index serve match snippets query wildcard similarity words components count
    ellipsize crc32 md5 sha1 fold json entities charset html feed dsstore comment lang
    textbundle keyed storage zlib url"
  local search_options="--files-with-matches --count --json --ignore-case --case-sensitive
    --smart-case --word-regexp --quiet --max-count --no-line-number --no-heading --files
    --max-depth --stats --follow --search-zip --glob --wildcard --ignore-accents --color
    --colors --column --vimgrep --no-ignore --json=files --index --no-index
    --paragraphs --snippet-chars --files-from --files0-from --null --type --type-list --lang
    --stop-words --comments --hidden --no-progress --verbose --help -j"
  local words=""
  if [ "$COMP_CWORD" -eq 1 ]; then
    words="$commands --help --version"
  elif [ "${COMP_WORDS[1]}" = search ]; then
    if [ "$previous" = --type ] || [ "$previous" = -t ]; then
      words="text markdown html feed textbundle txt md htm xhtml rss atom textpack"
    elif [ "$previous" = --color ]; then
      words="auto always never"
    elif [[ $current == -* ]]; then
      words=$search_options
    fi
  elif [ "$COMP_CWORD" -eq 2 ]; then
    case "${COMP_WORDS[1]}" in
      html) words="text strip links pieces charset" ;;
      feed) words="items html" ;;
      dsstore) words="ls get info" ;;
      textbundle) words="text unpack" ;;
      url) words="clean rel filter remote" ;;
      keyed) words="dump add remove" ;;
      index) words="--index --status --verify --compact --hidden --no-ignore" ;;
      serve) words="--bind --port --index --max-results --open --help" ;;
      storage) words="ls verify cat append delete compact salvage" ;;
    esac
  fi
  if [ -n "$words" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -o filenames -F _orvel orvel
