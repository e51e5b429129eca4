<?php
function count_up($limit)
{
    $i = 0;
    while ($i < $limit)
        $i = $i + 1;
    return $i;
}

echo count_up((int)$argv[1]), "\n";
