# Completion of tolvane-fax in fish. The table is that of the program: the build puts it here.
set -l table '@TABLE@'

function __tolvane_fax_command -a wanted -d 'Whether the command line names this command'
    set -l command
    for word in (commandline -opc)[2..]
        string match -q -- '-*' $word; and continue
        test -z "$command"; or test "$command" = keywords; or break
        set command (string join ' ' $command $word)
    end
    test "$command" = "$wanted"
end

set -l keywords
for row in (string split \n -- $table)
    set -l field (string split -m 3 '|' -- $row)
    set -l options -c tolvane-fax -d "$field[4]"
    # The options without a command go with all of them.
    if test -n "$field[1]"; or not string match -q -- '-*' $field[2]
        set -a options -n "__tolvane_fax_command '$field[1]'"
    end
    switch "$field[2],$field[3]"
        case '-*'
            for name in (string split ' ' -- $field[2])
                if string match -q -- '--*' $name
                    set -a options -l (string sub -s 3 -- $name)
                else
                    set -a options -s (string sub -s 2 -- $name)
                end
            end
            switch "$field[3]"
                case ''
                case FILE
                    set -a options -rF
                case NAME=VALUE
                    set -a options -xa "$keywords"
                case '* *'
                    set -a options -xa "$field[3]"
                case '*'
                    set -a options -x
            end
            complete $options
        case '*,COMMAND'
            complete $options -fa "$field[2]"
        case 'NAME,* *'
            set keywords (string split ' ' -- $field[3] | string escape)
        case 'NAME*'
            complete $options -a "$keywords"
    end
end
