# Sourced by the checks.

# Files of the repository whose path matches a pattern; without git, all files outside of builds.
sources() {
    {
        git ls-files --cached --others --exclude-standard 2>/dev/null ||
            find . -path './build*' -prune -o -path ./demo-output -prune -o -type f -printf '%P\n'
    } | grep -E "$1" | while read -r path; do [ -f "$path" ] && echo "$path"; done
}
