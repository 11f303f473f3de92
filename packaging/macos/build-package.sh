#!/bin/sh
# Makes the installer package HCDCustomHook-VERSION.pkg from the built tool, on a Mac.
#
#   build-package.sh [--tool FILE] [--version VERSION] [--output FOLDER]
#                    [--sign-tool IDENTITY] [--sign-package IDENTITY]
#
# Without options: the tool that build-tool.sh built, the version that CMakeLists.txt names, the folder build/package, nothing
# signed. Prints the package's path on standard output, everything else on standard error. The package appears only
# when it is whole; an older one of the same version is replaced then and not before.
set -eu
umask 022

name=HCDCustomHook
identifier=com.korvane.hcdcustomhook
location="/Library/Application Support/Korvane/$name"
recipe=$(cd "$(dirname "$0")" && pwd)
project=$(cd "$recipe/../.." && pwd)

fail() {
    printf 'build-package.sh: %s\n' "$1" >&2
    exit 1
}

usage() {
    printf 'usage: build-package.sh [--tool FILE] [--version VERSION] [--output FOLDER] %s\n' \
        '[--sign-tool IDENTITY] [--sign-package IDENTITY]' >&2
    exit 64
}

project_version() {
    sed -n "s/^project($name VERSION \([0-9.]*\).*/\1/p" "$project/CMakeLists.txt"
}

tool=$("$recipe/build-tool.sh" --where)
version=
output=$project/build/package
tool_identity=
package_identity=
while [ $# -gt 0 ]; do
    [ -n "${2-}" ] || usage
    case $1 in
    --tool) tool=$2 ;;
    --version) version=$2 ;;
    --output) output=$2 ;;
    --sign-tool) tool_identity=$2 ;;
    --sign-package) package_identity=$2 ;;
    *) usage ;;
    esac
    shift 2
done
version=${version:-$(project_version)}

check_version() {
    case $version in
    *[!0-9.]* | '' | .* | *. | *..* | *.*.*.*.*)
        fail "The version \"$version\" is not one to four numbers with dots between them."
        ;;
    esac
}

check_tool() {
    [ -f "$tool" ] || fail "There is no tool at $tool; build it with packaging/macos/build-tool.sh."
    [ -x "$tool" ] || fail "The tool $tool is not executable."
}

check_commands() {
    for command in pkgbuild productbuild lipo ${tool_identity:+codesign}; do
        command -v "$command" >/dev/null ||
            fail "There is no $command here: packages are built on a Mac with the command line developer tools."
    done
}

runs_on() {
    case " $architectures " in
    *" $1 "*) ;;
    *) return 1 ;;
    esac
}

check_version
check_tool
check_commands
architectures=$(lipo -archs "$tool") || fail "The tool $tool is not a program for macOS."
if ! runs_on arm64 || ! runs_on x86_64; then
    printf 'build-package.sh: Warning: the tool is not universal, it is for %s only.\n' "$architectures" >&2
fi

# The temporary folder lies beside the package, so that the last step is a rename.
mkdir -p "$output"
output=$(cd "$output" && pwd)
work=$(mktemp -d "$output/.$name.XXXXXX")
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM

stage() {
    mkdir "$work/payload" "$work/scripts" "$work/components"
    cp "$tool" "$work/payload/$name"
    cp "$recipe/uninstall.sh" "$work/payload/uninstall.sh"
    cp "$recipe/scripts/postinstall" "$work/scripts/postinstall"
    chmod 755 "$work/payload/$name" "$work/payload/uninstall.sh" "$work/scripts/postinstall"
}

# The staged copy is signed; the built tool stays as it is.
sign_tool() {
    codesign --force --options runtime --timestamp --identifier "$identifier" --sign "$tool_identity" \
        "$work/payload/$name" >&2 || fail "codesign could not sign the tool; no package was made."
}

# A payload that begins at the tool's own folder leaves the owners and modes of the folders above it alone.
build_component() {
    pkgbuild --root "$work/payload" --install-location "$location" --ownership recommended \
        --scripts "$work/scripts" --identifier "$identifier" --version "$version" \
        "$work/components/$name.pkg" >&2 || fail "pkgbuild failed; no package was made."
}

# build_product [SIGNING OPTIONS]
build_product() {
    host_architectures=$(printf '%s' "$architectures" | tr ' ' ',')
    sed -e "s/@VERSION@/$version/" -e "s/@ARCHITECTURES@/$host_architectures/" "$recipe/distribution.xml" \
        >"$work/distribution.xml"
    productbuild --distribution "$work/distribution.xml" --package-path "$work/components" "$@" \
        "$work/$name.pkg" >&2 || fail "productbuild failed; no package was made."
}

stage
[ -z "$tool_identity" ] || sign_tool
build_component
if [ -n "$package_identity" ]; then
    build_product --timestamp --sign "$package_identity"
else
    build_product
fi
package=$output/$name-$version.pkg
mv -f "$work/$name.pkg" "$package"
printf '%s\n' "$package"
