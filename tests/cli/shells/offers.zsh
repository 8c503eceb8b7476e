# Prints what zsh offers for the command line $1, a line each; $2 is the folder with its functions, which holds _qx5.
# A second zsh sits at a terminal of its own, since only there anything is completed.
zmodload zsh/zpty || exit 1
zpty inner zsh -f -i
zpty -w inner "PROMPT= RPROMPT=; fpath=(${(q)2} \$fpath); source ${(q)0:h}/offer_widget.zsh; print READY"
while zpty -r inner line; do
    [[ $line == READY* ]] && break
done
zpty -n -w inner "$1"$'\t'
while zpty -r inner line; do
    line=${line//$'\r'/}
    line=${line%$'\n'}
    [[ $line == *"<end>"* ]] && break
    [[ $line == *"<offer>"* ]] && print -r -- ${line#*<offer>}
done
zpty -d inner
