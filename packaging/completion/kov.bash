# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
#
# Completes the command lines of the KOV programs in bash. Installed under the name of each program.
#
# Root presses the tab key, and names of products are free text. So only installed programs are run,
# by their fixed paths; nothing on the command line is expanded; and each name is quoted.

_KOV_PROGRAMS=/opt/tarvo/kov
# In seconds: how long whoever presses the key waits for a program.
_KOV_PATIENCE=2

# _kov_offer NAME...: offers those that begin with what was typed, quoted for the shell.
_kov_offer() {
    local name quoted
    for name; do
        printf -v quoted '%q' "$name"
        # readline breaks words at these.
        [[ $quoted == "\$'"* ]] || quoted=${quoted//:/\\:} quoted=${quoted//=/\\=}
        [[ $quoted != "$typed"* ]] || COMPREPLY+=("$quoted")
    done
}

# _kov_values OPTION...: the values that the command line has after these options, one a line.
_kov_values() {
    local i option
    for ((i = 1; i < COMP_CWORD; ++i)); do
        for option; do
            [[ ${COMP_WORDS[i]} == "$option" ]] || continue
            [[ ${COMP_WORDS[i + 1]} != = ]] || ((++i))
            ((i + 1 == COMP_CWORD)) || printf '%s\n' "${COMP_WORDS[i + 1]}"
        done
    done
}

# _kov_list ARGUMENT...: what a listing of fennik prints. Nothing where it could take long: the
# daemon answers at once. Nothing where fennik's lock file is missing, which fennik would make, or
# is not this user's: pressing a key must not work on somebody else's tree.
_kov_list() {
    local prefix lock
    prefix=$(_kov_values --kov-build-system-dest-dir --dest-dir | tail -n 1)
    lock=$prefix/var/opt/tarvo/kov/fennik.lock
    [[ $lock == /* && -f $lock && -O $lock ]] || return 0
    if [[ -n $prefix ]]; then
        set -- --kov-build-system-dest-dir "$prefix" "$@"
    elif ! timeout "$_KOV_PATIENCE" "$_KOV_PROGRAMS/sbin/owcimomd" --ping; then
        return 0
    fi
    timeout "$_KOV_PATIENCE" "$_KOV_PROGRAMS/bin/fennik" "$@" | head -n 1000
} 2>/dev/null </dev/null

_kov_offer_products() {
    local products
    mapfile -t products < <(_kov_list --list-registered-products)
    _kov_offer "${products[@]}"
}

# Offers the namespaces of the product that the command line names, or of all.
_kov_offer_namespaces() {
    local product namespaces end=$((SECONDS + _KOV_PATIENCE))
    while ((SECONDS < end)) && IFS= read -r product; do
        mapfile -t namespaces < <(_kov_list --list-namespaces --name "$product")
        _kov_offer "${namespaces[@]}"
    done < <(
        named=$(_kov_values --name | tail -n 1)
        if [[ -n $named ]]; then echo "$named"; else _kov_list --list-registered-products; fi
    )
}

# _kov_help PROGRAM: its options, one a line, with "<arg>" behind those that take a value.
_kov_help() {
    local path=$_KOV_PROGRAMS/sbin/$1
    [[ -x $path ]] || path=$_KOV_PROGRAMS/bin/$1
    timeout "$_KOV_PATIENCE" "$path" --help 2>&1 </dev/null |
        sed -nE '/^Options:/,/^$/s/^  ((-.), )?(--[a-z-]+)( <arg>)?( .*|$)/\2\4\n\3\4/p' | grep -e -
}

# _kov_offer_values OPTION: offers values for the option. Without any, readline offers files.
_kov_offer_values() {
    case $1 in
        --name) _kov_offer_products ;;
        --username | --ro-username | --remove) mapfile -t COMPREPLY < <(compgen -u -- "$typed") ;;
        -n | --namespace)
            _kov_offer root root/security kov
            _kov_offer_namespaces
            ;;
        --deregister-namespace) _kov_offer_namespaces ;;
        --register-namespace) ;;
        --dest-dir | --schema-dir | --kov-build-system-dest-dir) compopt -o dirnames ;;
        *) compopt -o default ;;
    esac
}

# _kov_offer_operands PROGRAM: offers words that belong to no option.
_kov_offer_operands() {
    case $1 in
        owdeletenamespace) _kov_offer_namespaces ;;
        owpasswd) mapfile -t COMPREPLY < <(compgen -u -- "$typed") ;;
        owmofc)
            [[ " ${COMP_WORDS[*]} " == *" --delete-"* ]] || compopt -o default
            ;;
        owshow) [[ " ${COMP_WORDS[*]} " == *" --products "* ]] && _kov_offer_products ;;
        tarvo-owcimomd_init) _kov_offer start stop restart try-restart force-reload status ;;
        *) return 1 ;;
    esac
}

_kov() {
    local program=${1##*/} typed=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local options option
    COMPREPLY=()
    # "--name=x" is three words.
    if [[ $typed == = ]]; then
        typed=
    elif [[ $before == = ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    [[ $program == tarvo-owcimomd_init ]] ||
        mapfile -t options < <(_kov_help "$program")
    for option in "${options[@]}"; do
        if [[ $option == "$before <arg>" ]]; then
            _kov_offer_values "$before"
            return
        fi
    done
    if [[ $typed == -* ]] || ! _kov_offer_operands "$program"; then
        _kov_offer "${options[@]% <arg>}"
    fi
}

complete -F _kov fennik owmofc owdeleteinstance owdeletenamespace owpasswd owshow kov-setup \
    kov-verify owcimomd tarvo-owcimomd_init
