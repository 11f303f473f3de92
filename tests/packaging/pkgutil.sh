#!/bin/bash
# Stands in for pkgutil, with a file in /var/db/receipts for each receipt.
set -euo pipefail

receipt=/var/db/receipts/$2
if [[ ! -e $receipt ]]; then
    echo "No receipt for '$2' found at '/'."
    exit 1
fi
case $1 in
--pkg-info) echo "package-id: $2" ;;
--forget)
    rm "$receipt"
    echo "Forgot package '$2' on '/'."
    ;;
esac
