# Completion of ledgerwick for fish. The command itself says what may follow (ledgerwick __complete).
function __ledgerwick_complete
    set -l words (commandline -opc)
    set -l typed (commandline -ct)
    set -l replies ($words[1] __complete $words[2..-1] "$typed" 2>/dev/null)
    string join \n -- $replies[2..-1]
    if string match -q '*paths*' -- $replies[1]
        set -l before (string match -r '^(?:--[^=]*=)?(?:embedded:)?' -- "$typed")
        set -l path (string sub -s (math (string length -- "$before") + 1) -- "$typed")
        string join \n -- "$before"(__fish_complete_path "$path")
    end
end
complete -c ledgerwick -f -a '(__ledgerwick_complete)'
