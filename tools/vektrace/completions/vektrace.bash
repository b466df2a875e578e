# Completes the command line of vektrace. For this shell: . <(vektrace completion bash)
_vektrace() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local verb='' word options='' arguments='' values='-'
    # The line is divided at an equals sign too.
    if [ "$current" = '=' ]; then
        current=''
    elif [ "$before" = '=' ] && [ "$COMP_CWORD" -ge 2 ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
        case $word in
        dump | info | check | filter | recover | merge | split | export | import | sample | damage | plugins | completion | help) verb=$word && break ;;
        esac
    done
    case $verb:$before in
    :--color) values='auto always never' ;;
    :--progress) values='auto always never' ;;
    :--plugin) values='' ;;
    dump:--framing) values='detect marked unmarked' ;;
    dump:--format) values='text jsonl csv' ;;
    dump:--time) values='utc local epoch relative delta' ;;
    dump:--precision) values='' ;;
    dump:--color) values='auto always never' ;;
    dump:--progress) values='auto always never' ;;
    dump:--plugin) values='' ;;
    info:--framing) values='detect marked unmarked' ;;
    info:--format) values='text json' ;;
    info:--color) values='auto always never' ;;
    info:--progress) values='auto always never' ;;
    info:--plugin) values='' ;;
    check:--framing) values='detect marked unmarked' ;;
    check:--format) values='text jsonl' ;;
    check:--color) values='auto always never' ;;
    check:--progress) values='auto always never' ;;
    check:--plugin) values='' ;;
    filter:--framing) values='detect marked unmarked' ;;
    filter:-o) values='' ;;
    filter:--output) values='' ;;
    filter:--id) values='' ;;
    filter:--not-id) values='' ;;
    filter:--from) values='' ;;
    filter:--to) values='' ;;
    filter:--first) values='' ;;
    filter:--last) values='' ;;
    filter:--color) values='auto always never' ;;
    filter:--progress) values='auto always never' ;;
    filter:--plugin) values='' ;;
    recover:--framing) values='detect marked unmarked' ;;
    recover:-o) values='' ;;
    recover:--output) values='' ;;
    recover:--ledger) values='' ;;
    recover:--ledger-format) values='text json' ;;
    recover:--color) values='auto always never' ;;
    recover:--progress) values='auto always never' ;;
    recover:--plugin) values='' ;;
    merge:--framing) values='detect marked unmarked' ;;
    merge:-o) values='' ;;
    merge:--output) values='' ;;
    merge:--color) values='auto always never' ;;
    merge:--progress) values='auto always never' ;;
    merge:--plugin) values='' ;;
    split:--framing) values='detect marked unmarked' ;;
    split:--size) values='' ;;
    split:--count) values='' ;;
    split:--time) values='' ;;
    split:-o) values='' ;;
    split:--output) values='' ;;
    split:--digits) values='' ;;
    split:--color) values='auto always never' ;;
    split:--progress) values='auto always never' ;;
    split:--plugin) values='' ;;
    export:--framing) values='detect marked unmarked' ;;
    export:-o) values='' ;;
    export:--output) values='' ;;
    export:--color) values='auto always never' ;;
    export:--progress) values='auto always never' ;;
    export:--plugin) values='' ;;
    import:-o) values='' ;;
    import:--output) values='' ;;
    import:--color) values='auto always never' ;;
    import:--progress) values='auto always never' ;;
    import:--plugin) values='' ;;
    sample:--seed) values='' ;;
    sample:--length) values='' ;;
    sample:--size) values='' ;;
    sample:--start) values='' ;;
    sample:-o) values='' ;;
    sample:--output) values='' ;;
    sample:--color) values='auto always never' ;;
    sample:--progress) values='auto always never' ;;
    sample:--plugin) values='' ;;
    damage:--seed) values='' ;;
    damage:--bytes) values='' ;;
    damage:--cut) values='' ;;
    damage:--insert) values='' ;;
    damage:--zero) values='' ;;
    damage:--run) values='' ;;
    damage:--ledger) values='' ;;
    damage:-o) values='' ;;
    damage:--output) values='' ;;
    damage:--color) values='auto always never' ;;
    damage:--progress) values='auto always never' ;;
    damage:--plugin) values='' ;;
    plugins:--format) values='text json' ;;
    plugins:--color) values='auto always never' ;;
    plugins:--progress) values='auto always never' ;;
    plugins:--plugin) values='' ;;
    completion:--color) values='auto always never' ;;
    completion:--progress) values='auto always never' ;;
    completion:--plugin) values='' ;;
    help:--color) values='auto always never' ;;
    help:--progress) values='auto always never' ;;
    help:--plugin) values='' ;;
    esac
    case $verb in
    '') options='--version -h --help --color --progress --plugin' arguments='' ;;
    dump) options='--framing --prefer-chain --format --hex --follow --time --precision -h --help --color --progress --plugin' arguments='' ;;
    info) options='--framing --prefer-chain --format -h --help --color --progress --plugin' arguments='' ;;
    check) options='--framing --prefer-chain --format -h --help --color --progress --plugin' arguments='' ;;
    filter) options='--framing --prefer-chain -o --output -f --force --id --not-id --from --to --undecodable --first --last -h --help --color --progress --plugin' arguments='' ;;
    recover) options='--framing -o --output -f --force --trust-sizes --ledger --ledger-format -h --help --color --progress --plugin' arguments='' ;;
    merge) options='--framing --prefer-chain -o --output -f --force -h --help --color --progress --plugin' arguments='' ;;
    split) options='--framing --size --count --time -o --output --digits -f --force -h --help --color --progress --plugin' arguments='' ;;
    export) options='--framing -o --output -f --force -h --help --color --progress --plugin' arguments='' ;;
    import) options='-o --output -f --force -h --help --color --progress --plugin' arguments='' ;;
    sample) options='--seed --length --size --start --unmarked -o --output -f --force -h --help --color --progress --plugin' arguments='' ;;
    damage) options='--seed --bytes --cut --insert --zero --run --ledger -o --output -f --force -h --help --color --progress --plugin' arguments='' ;;
    plugins) options='--format -h --help --color --progress --plugin' arguments='' ;;
    completion) options='-h --help --color --progress --plugin' arguments='bash zsh fish' ;;
    help) options='--man -h --help --color --progress --plugin' arguments='dump info check filter recover merge split export import sample damage plugins completion help' ;;
    esac
    [ -n "$verb" ] || arguments='dump info check filter recover merge split export import sample damage plugins completion help'
    [ "$values" != '-' ] || case $current in
    -?* | -) values=$options ;;
    *) values=$arguments ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$values" -- "$current")
}
complete -o bashdefault -o default -F _vektrace vektrace
