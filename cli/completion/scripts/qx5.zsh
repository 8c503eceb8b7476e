#compdef qx5
# Completion of qx5 for zsh: asks qx5 itself what may come next.
_qx5() {
    local answer
    local -a whole begun
    for answer in "${(@f)$("${words[1]}" __complete "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)}"; do
        case $answer in
        '') ;;
        :files)
            compset -P '*='
            _files
            ;;
        *)
            # A colon parts a word from what it is.
            answer=${answer//:/\\:}
            answer=${answer/$'\t'/:}
            if [[ ${answer%%:*} == *= ]]; then
                begun+=("$answer")
            else
                whole+=("$answer")
            fi
            ;;
        esac
    done
    (( $#whole )) && _describe -t words 'qx5' whole
    (( $#begun )) && _describe -t words 'qx5' begun -S ''
    return 0
}
if [[ ${funcstack[1]} == _qx5 ]]; then
    _qx5 "$@"
else
    compdef _qx5 qx5
fi
