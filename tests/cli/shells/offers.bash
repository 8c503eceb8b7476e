# Prints what bash offers for a command line, a line each: $1 is the script of the completion, $2 the command line, and
# what follows are the words that bash takes it apart into.
source "$1"
COMP_LINE=$2
COMP_POINT=${#COMP_LINE}
shift 2
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
# Outside of a terminal there is nobody to be told how it goes on.
compopt() { :; }
$(complete -p qx5 | sed 's/.* -F \([^ ]*\) .*/\1/')
printf '%s\n' "${COMPREPLY[@]}"
