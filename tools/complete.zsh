# complete.zsh bash|zsh FOLDER LINE: what an interactive shell makes of LINE when the tabulator is
# pressed behind it, with the completions of FOLDER/shell and FOLDER in the path.
zmodload zsh/zpty
cd $2
path=($PWD $path)
if [[ $1 == bash ]]; then
  zpty shell env TERM=dumb HISTFILE= bash --norc --noprofile -i
  zpty -w shell $'PS1=; source shell/velhost.bash; bind -x \'"\\C-g": printf "[%s]\\n" "$READLINE_LINE"\'; echo rea""dy'
else
  zpty shell env TERM=dumb zsh -f -i
  zpty -w shell $'PS1=; fpath=($PWD/shell $fpath); autoload -Uz compinit; compinit -D -u; show() { print -r -- "[$BUFFER]" }; zle -N show; bindkey "^G" show; echo rea""dy'
fi
zpty -r -m shell output '*ready*' || exit
zpty -w -n shell "$3"$'\t\a'
zpty -r -m shell output '*\[*\]*' || exit
print -r -- ${${output##*\[}%%\]*}
