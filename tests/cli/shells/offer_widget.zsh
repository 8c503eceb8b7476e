# In the zsh of offers.zsh: the tab key prints what is offered, each behind "<offer>", and "<end>".
autoload -Uz compinit
compinit -u -D
compadd() {
    local -a hits
    if (( ! ${argv[(I)-[OAD]*]} )); then
        builtin compadd -A hits "$@"
        local hit
        for hit in $hits; do print -r -- "<offer>$IPREFIX$hit"; done
    fi
    builtin compadd "$@"
}
offer() { _main_complete; print -r -- "<end>"; }
zle -C offer .complete-word offer
bindkey '^I' offer
