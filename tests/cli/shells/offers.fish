# Prints what fish offers for the command line that the second argument is, a line each; the first is the script.
source $argv[1]
for offer in (complete -C $argv[2])
    string split -f 1 \t -- $offer
end
exit 0
