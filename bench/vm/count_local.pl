use strict;

sub count_up {
    my ($limit) = @_;
    my $i = 0;
    while ($i < $limit) {
        $i = $i + 1;
    }
    return $i;
}

print count_up($ARGV[0] + 0), "\n";
