# Completion of qx5 for fish: asks qx5 itself what may come next.
function __qx5_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    for answer in ($words[1] __complete $words[2..-1] "$current" 2>/dev/null)
        if test "$answer" = :files
            set -l before (string replace -r '[^=]*$' '' -- "$current")
            string match -q -- '-*' "$current"; or set before ''
            for file in (__fish_complete_path (string replace -r '^.*=' '' -- "$current"))
                echo $before$file
            end
        else
            echo $answer
        end
    end
end
complete -c qx5 -f -a '(__qx5_complete)'
