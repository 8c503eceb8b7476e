# Completion of qx5 for bash: asks qx5 itself what may come next.
_qx5() {
    # The words up to the cursor as they were written: bash takes them apart at = and : as well.
    local line=${COMP_LINE:0:COMP_POINT} words=() piece i
    for ((i = 0; i <= COMP_CWORD; i++)); do
        piece=${COMP_WORDS[i]}
        if [[ $i -eq 0 || -z $line || $line == [[:space:]]* ]]; then
            line=${line#"${line%%[![:space:]]*}"}
            words+=("")
        fi
        [[ $line == "$piece"* ]] || piece=$line
        words[-1]+=$piece
        line=${line#"$piece"}
    done
    # Quotes are the shell's, not qx5's.
    words=("${words[@]//[\"\'\\]/}")
    local current=${words[-1]} kept answers=() answer
    # What stands before the last = or : stays where it is.
    kept=
    [[ $COMP_WORDBREAKS == *=* && $current == *=* ]] && kept=${current%"${current##*=}"}
    [[ $COMP_WORDBREAKS == *:* && ${current#"$kept"} == *:* ]] && kept=${current%"${current##*:}"}
    mapfile -t answers < <("${COMP_WORDS[0]}" __complete "${words[@]:1}" 2>/dev/null)
    COMPREPLY=()
    for answer in "${answers[@]}"; do
        if [[ $answer == :files ]]; then
            compopt -o filenames
            mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "${current##*=}")
            continue
        fi
        answer=${answer%%$'\t'*}
        [[ $answer == *= ]] && compopt -o nospace
        printf -v answer %q "${answer#"$kept"}"
        COMPREPLY+=("$answer")
    done
}
complete -F _qx5 qx5
